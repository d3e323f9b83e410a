#include "app/vconsoleapp.h"

#include "logging/log_manager.h"
#include "runtime/failure/vexception.h"
#include "runtime/fault/memory_reserve.h"
#include "runtime/fault/stack_reserve.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"

#include <windows.h>

// The lines of all raise sites here are fixed: part of the interface with the panel's log readers; do not correct.

vconsoleapp* theApplication = nullptr;

vconsoleapp::~vconsoleapp()
{
    theApplication = nullptr;
}

std::int32_t vconsoleapp::go(std::int32_t, const wchar_t* const*)
{
    throw vexception(L"Invalid command " + maskArgument(command_), {"vconsoleapp::go", 68});
}

void vconsoleapp::usage()
{
    throw vexception(L"Missing command parameter", {"vconsoleapp::usage", 100});
}

void vconsoleapp::cmdNotSupported(const std::wstring& possibleCommands) const
{
    throw vexception(
        L"command " + maskArgument(command_) + L" not supported. Possible commands:\n" + possibleCommands,
        {"vconsoleapp::cmdNotSupported", 56});
}

std::int32_t vconsoleapp::start(std::int32_t argc, const wchar_t* const* argv)
{
    const auto describe = callText(L"Unable to execute console command: '%s'", command_);
    return operation({"vconsoleapp::start", 95}, describe, [&](Span&) -> std::int32_t {
        if (argc > 1) {
            command_ = argv[1];
            return go(argc - 2, argv + 2);
        }
        if (command_.empty())
            usage();
        return 1;
    });
}

std::int32_t vconsoleapp::run(std::int32_t argc, const wchar_t* const* argv) noexcept
{
    std::int32_t result = 1;
    structured_exception::reserveStack();
    // operation() restores the previous translator at its end; this one also covers the logging of a failure.
    const structured_exception::TranslatorScope translator;
    try {
        std::wstring commandLine;
        const auto describe = [&] { return formatString(L"Unable to execute command: '%s'", commandLine.c_str()); };
        operation(
            {RaiseSite("vconsoleapp::run", 117), RaiseSite("vconsoleapp::run", 108)}, describe, [&](Span& span) {
                commandLine = maskCommandLine(GetCommandLineW());
                LogManager::log(LogLevel::Info, L"Start command: '%s'", commandLine.c_str());
                const std::int32_t code = start(argc, argv);
                LogManager::log(LogLevel::Info, L"End command '%s' with code: %d", commandLine.c_str(), code);
                if (span.isActive())
                    span.tag("if_error", describe());
                result = code;
            });
    } catch (const vexception& failure) {
        result = 1;
        openMemoryReserve();
        LogManager::log(LogLevel::Error, failure);
    } catch (...) { // the catch ladder failed: no memory
        result = 1;
        openMemoryReserve();
        LogManager::log(LogLevel::Error, L"Unexpected error");
    }
    return result;
}
