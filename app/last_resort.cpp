#include "app/last_resort.h"

#include "logging/crash/crash_dump_info.h"
#include "logging/log_manager.h"
#include "runtime/fault/memory_reserve.h"
#include "runtime/text/format.h"

#include <windows.h>

#include <csignal>
#include <exception>

namespace {

// Lives from static initialisation to process exit.
CrashDumpInfo crashDumpInfo;

[[noreturn]] void endProcess()
{
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;) { // not reached
    }
}

/// Ends the process without the log and the run times.
[[noreturn]] void endWithLine()
{
    constexpr char text[] = "Unexpected end of the program\r\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, sizeof text - 1, &written, nullptr);
    endProcess();
}

/// The C and C++ runtimes abort when a system call that they need fails, mainly before the entry point. Neither they
/// nor the log can be used then.
[[noreturn]] void endAfterAbort(int)
{
    endWithLine();
}

/// Writes the last record; while the log cannot be used, a line to standard output. Ends the process.
[[noreturn]] void end(const std::wstring& cause)
{
    if (!LogManager::isUsable())
        endWithLine();
    LogManager::log(LogLevel::Crash, L"Unexpected end of the program%s", cause.c_str());
    endProcess();
}

constexpr int beforeAllOthers = 101; // as in dll_search.cpp

__attribute__((constructor(beforeAllOthers))) void catchAborts()
{
    std::signal(SIGABRT, endAfterAbort);
}

/// Makes a second failure end the process at once instead of calling these handlers again.
void disarm() noexcept
{
    openMemoryReserve(); // for the last record
    std::set_terminate(endProcess);
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { endProcess(); });
}

[[noreturn]] void endAfterTerminate()
{
    disarm();
    end(L"");
}

/// The system calls this for an unhandled fault, before it shows its dialog.
LONG CALLBACK endAfterFault(EXCEPTION_POINTERS* pointers)
{
    disarm();
    CrashDumpInfo::dumpUnhandled(pointers);
    end(formatString(L": C structured exception: 0x%lx", pointers->ExceptionRecord->ExceptionCode));
}

} // namespace

void installLastResort() noexcept
{
    std::set_terminate(endAfterTerminate);
    SetUnhandledExceptionFilter(endAfterFault);
}
