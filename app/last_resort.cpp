#include "app/last_resort.h"

#include "logging/crash_dump_info.h"
#include "logging/log_manager.h"

#include <windows.h>

#include <exception>

namespace {

// The process's own: made before the entry point runs, gone after it.
const CrashDumpInfo crashDumpInfo;

[[noreturn]] void endProcess()
{
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;) { // not reached: the process is gone
    }
}

/// A second failure on the way out must not come back here: it ends the process at once.
void disarm() noexcept
{
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
