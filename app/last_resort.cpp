#include "app/last_resort.h"

#include "logging/log_manager.h"

#include <windows.h>

#include <exception>

namespace {

[[noreturn]] void endProcess()
{
    // A second failure on the way out must not come back here.
    std::set_terminate([] { TerminateProcess(GetCurrentProcess(), 1); });
    LogManager::log(LogLevel::Crash, L"Unexpected end of the program");
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;) { // not reached: the process is gone
    }
}

} // namespace

void installLastResort() noexcept
{
    std::set_terminate(endProcess);
}
