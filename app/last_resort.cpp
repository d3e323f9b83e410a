#include "app/last_resort.h"

#include "logging/crash/crash_dump_info.h"
#include "logging/log_manager.h"
#include "runtime/fault/memory_reserve.h"

#include <windows.h>

#include <csignal>
#include <exception>

namespace {

// The process's own: made before the entry point runs, gone after it.
CrashDumpInfo crashDumpInfo;

[[noreturn]] void endProcess()
{
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;) { // not reached: the process is gone
    }
}

/// The C and C++ run times give up in this way when the system refuses them what they need, above all before the
/// entry point. Nothing of theirs can be used any more, the log included.
[[noreturn]] void endAfterAbort(int)
{
    constexpr char text[] = "Unexpected end of the program\r\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, sizeof text - 1, &written, nullptr);
    endProcess();
}

constexpr int beforeAllOthers = 101; // the first priority that is not the compiler's own

__attribute__((constructor(beforeAllOthers))) void catchAborts()
{
    std::signal(SIGABRT, endAfterAbort);
}

/// A second failure on the way out must not come back here: it ends the process at once.
void disarm() noexcept
{
    openMemoryReserve(); // for what there is still to say
    std::set_terminate(endProcess);
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { endProcess(); });
}

[[noreturn]] void endAfterTerminate()
{
    disarm();
    LogManager::log(LogLevel::Crash, L"Unexpected end of the program");
    endProcess();
}

/// The system asks here before it shows its dialog: a fault that no frame could take.
LONG CALLBACK endAfterFault(EXCEPTION_POINTERS* pointers)
{
    disarm();
    CrashDumpInfo::dumpUnhandled(pointers);
    LogManager::log(LogLevel::Crash, L"Unexpected end of the program: C structured exception: 0x%lx",
        pointers->ExceptionRecord->ExceptionCode);
    endProcess();
}

} // namespace

void installLastResort() noexcept
{
    std::set_terminate(endAfterTerminate);
    SetUnhandledExceptionFilter(endAfterFault);
}
