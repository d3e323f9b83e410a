#include "app/last_resort.h"

#include "logging/crash/crash_dump_info.h"
#include "logging/log_manager.h"
#include "runtime/fault/cwrpexception.h"
#include "runtime/fault/fault_in_flight.h"
#include "runtime/fault/memory_reserve.h"
#include "runtime/fault/process_end.h"
#include "runtime/operation/catch_ladder.h"

#include <windows.h>

#include <csignal>
#include <cwchar>
#include <exception>
#include <iterator>

namespace {

// Lives from static initialisation to process exit.
CrashDumpInfo crashDumpInfo;

constexpr char lastLine[] = "Unexpected end of the program\r\n";

/// The C and C++ runtimes abort when a system call that they need fails, mainly before the entry point. Neither they
/// nor the log can be used then.
[[noreturn]] void endAfterAbort(int)
{
    writeLastLine(lastLine);
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

/// Writes the last record, prunes old dumps, ends the process.
[[noreturn]] void end(const wchar_t* separator, const wchar_t* cause)
{
    if (LogManager::isUsable())
        LogManager::log(LogLevel::Crash, L"Unexpected end of the program%s%s", separator, cause);
    else
        writeLastLine(lastLine);
    CrashDumpInfo::prune(); // last: the heap may be corrupt
    endProcess();
}

[[noreturn]] void endAfterTerminate()
{
    disarm();
    try {
        // GCC before 14 calls std::terminate without a current exception where a function with a catch may not throw.
        if (const auto* fault = static_cast<const cwrpexception*>(structured_exception::faultInFlight.object))
            end(L": ", fault->text().c_str());
        if (!std::current_exception())
            end(L"", L"");
        Span span(RaiseSite("endAfterTerminate"));
        rethrowAsVexception(span, {"endAfterTerminate"}, L"");
    } catch (const vexception& failure) {
        end(L": ", failure.fullText().c_str());
    } catch (...) { // no memory
        end(L"", L"");
    }
}

/// The system calls this for an unhandled fault, before it shows its dialog.
LONG CALLBACK endAfterFault(EXCEPTION_POINTERS* pointers)
{
    constexpr DWORD gccThrow = 0x20474343;
    // A C++ exception without a handler. GCC's runtime expects to be continued and calls std::terminate.
    if (pointers->ExceptionRecord->ExceptionCode == gccThrow &&
        !(pointers->ExceptionRecord->ExceptionFlags & EXCEPTION_NONCONTINUABLE))
        return EXCEPTION_CONTINUE_EXECUTION;
    disarm();
    CrashDumpInfo::dumpUnhandled(pointers);
    wchar_t code[12] = L"";
    _snwprintf(code, std::size(code) - 1, L"%lx", pointers->ExceptionRecord->ExceptionCode);
    end(L": C structured exception: 0x", code);
}

} // namespace

void installLastResort() noexcept
{
    std::set_terminate(endAfterTerminate);
    SetUnhandledExceptionFilter(endAfterFault);
}
