#include "runtime/structured_exception.h"

#include "runtime/cwrpexception.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

volatile int* volatile const badAddress = reinterpret_cast<int*>(16);

} // namespace

TEST(StructuredException, IsCaughtInTheFunctionOfTheFaultAndRunsDestructors)
{
    const structured_exception::TranslatorScope scope;
    int destroyed = 0;
    for (int round = 1; round < 4; ++round) { // again and again: nothing stays set
        DWORD code = 0;
        try {
            const std::shared_ptr<void> counted(nullptr, [&](void*) { ++destroyed; });
            *badAddress = 1;
        } catch (const cwrpexception& failure) {
            code = failure.code();
        }
        EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, code);
        EXPECT_EQ(round, destroyed);
    }
}

TEST(StructuredException, LeavesOtherCodesAndThreadsWithoutTranslatorAlone)
{
    // Only a debugger or the system's last filter sees these; the filter here stands for them.
    static int seen = 0;
    const auto previous = SetUnhandledExceptionFilter([](EXCEPTION_POINTERS* pointers) -> LONG {
        ++seen;
        pointers->ContextRecord->Rip +=
            pointers->ExceptionRecord->ExceptionCode == EXCEPTION_ILLEGAL_INSTRUCTION ? 2 : 0;
        return EXCEPTION_CONTINUE_EXECUTION;
    });
    {
        const structured_exception::TranslatorScope scope;
        EXPECT_NO_THROW(RaiseException(0xe06d7363, 0, 0, nullptr)) << "another run time's C++ exception";
        EXPECT_NO_THROW(RaiseException(0x40020099, 0, 0, nullptr)) << "a notification";
    }
    EXPECT_NO_THROW(__asm__ volatile("ud2")) << "translated without a translator";
    SetUnhandledExceptionFilter(previous);
    EXPECT_EQ(3, seen);
}
