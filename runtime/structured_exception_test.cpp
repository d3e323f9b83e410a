#include "runtime/structured_exception.h"

#include "runtime/cwrpexception.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

namespace {

volatile int zero = 0;
void* volatile const badAddress = reinterpret_cast<void*>(16);

void writeBadAddress()
{
    *static_cast<volatile int*>(badAddress) = 1;
}

struct Counted
{
    explicit Counted(int& count_) : count(count_) {}
    ~Counted() { ++count; }
    int& count;
};

/// The code that arrives as an exception, 0 for none.
DWORD codeOf(const std::function<void()>& fault)
{
    const structured_exception::TranslatorScope scope;
    try {
        fault();
    } catch (const cwrpexception& failure) {
        return failure.code();
    }
    return 0;
}

int observed = 0;

} // namespace

TEST(StructuredException, ReachesTheCatchFromEveryKindOfFrame)
{
    constexpr DWORD violation = EXCEPTION_ACCESS_VIOLATION;
    for (const auto& [name, fault, code] :
        std::initializer_list<std::tuple<const char*, std::function<void()>, DWORD>>{
            {"write", writeBadAddress, violation},
            {"division", [] { zero = 1 / zero; }, EXCEPTION_INT_DIVIDE_BY_ZERO},
            {"illegal instruction", [] { __asm__ volatile("ud2"); }, EXCEPTION_ILLEGAL_INSTRUCTION},
            {"call of null", [] { reinterpret_cast<void (*)()>(static_cast<ULONG_PTR>(zero))(); }, violation},
            {"copy routine beside a string",
                [] {
                    std::string owner(64, 'x');
                    memcpy(owner.data(), badAddress, static_cast<std::size_t>(64 + zero));
                    zero = owner[0] == 'y' ? 1 : 0;
                },
                violation},
            {"text from a bad address", [] { std::wstring(static_cast<const wchar_t*>(badAddress)); }, violation},
            {"noexcept", []() noexcept { writeBadAddress(); }, violation},
            {"callback of the C runtime",
                [] {
                    int numbers[] = {2, 1};
                    qsort(numbers, 2, sizeof(int), [](const void*, const void*) { return writeBadAddress(), 0; });
                },
                violation},
            {"raised by software", [] { RaiseException(0xc0000374, 0, 0, nullptr); }, 0xc0000374},
            {"handled by the system", [] { lstrlenW(static_cast<const wchar_t*>(badAddress)); }, 0},
            {"debug print", [] { OutputDebugStringW(L"x"); }, 0}})
        EXPECT_EQ(code, codeOf(fault)) << name;
}

TEST(StructuredException, IsCaughtInTheFunctionOfTheFaultAndRunsDestructors)
{
    const structured_exception::TranslatorScope scope;
    int destroyed = 0, caught = 0;
    for (int round = 0; round < 3; ++round) { // again and again: nothing stays set
        try {
            const Counted counted(destroyed);
            *static_cast<volatile int*>(badAddress) = 1;
        } catch (...) {
            ++caught;
        }
        caught += codeOf([&] { Counted{destroyed}, writeBadAddress(); }) != 0 ? 1 : 0;
    }
    EXPECT_EQ(6, caught);
    EXPECT_EQ(6, destroyed);
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
    EXPECT_EQ(0u, codeOf([] { RaiseException(0xe06d7363, 0, 0, nullptr); })) << "another run time's C++ exception";
    EXPECT_EQ(0u, codeOf([] { RaiseException(0x40020099, 0, 0, nullptr); })) << "a notification";
    EXPECT_NO_THROW(__asm__ volatile("ud2")) << "translated without a translator";
    SetUnhandledExceptionFilter(previous);
    EXPECT_EQ(3, seen);
}

TEST(StructuredException, LetsTheObserverSeeEachFaultOnce)
{
    const auto previous = structured_exception::setObserver([](EXCEPTION_POINTERS* pointers) {
        ++observed;
        EXPECT_EQ(16u, pointers->ExceptionRecord->ExceptionInformation[1]);
        writeBadAddress(); // a fault while a fault is recorded
    });
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, codeOf(writeBadAddress));
    structured_exception::setObserver(previous);
    EXPECT_EQ(1, observed);
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, codeOf(writeBadAddress));
}
