#include "system/panel/panel_utility.h"

#include "logging/log_manager.h"
#include "runtime/operation/operation.h"
#include "runtime/path.h"
#include "runtime/text/code_page.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"
#include "system/panel/panel_directories.h"
#include "system/panel/util_exec_log.h"

#include <vector>

namespace {

/// The child's whole output.
std::vector<char> readAll(ExecPipe& pipe)
{
    std::vector<char> bytes;
    char part[1024];
    while (const std::size_t count = pipe.read(part, sizeof part, 0)) {
        // The vector's own growth, doubling, takes too much memory for a large output.
        if (bytes.capacity() - bytes.size() < count)
            bytes.reserve(bytes.size() + bytes.size() / 4 + sizeof part);
        bytes.insert(bytes.end(), part, part + count);
    }
    return bytes;
}

/// Reads the rest of the child's output and drops it. Repeats a failed read some times.
/// @throws vosexception the last failure
void discardRest(ExecPipe& pipe)
{
    constexpr int attempts = 3;
    char part[1024];
    for (int attempt = 1;; ++attempt) {
        try {
            while (pipe.read(part, sizeof part, 0) > 0) {
            }
            return;
        } catch (const vexception&) {
            if (attempt == attempts)
                throw;
        }
    }
}

/// Waits for the end of a utility whose run has failed in this process. Ending it, or closing its output, could cut a
/// repair in the middle, which does more harm than a lost answer.
void awaitEnd(vexecutil& runner, const std::wstring& name) noexcept
{
    if (!runner.process)
        return;
    runner.stdinPipe.close(); // the utility may read its input to the end
    try {
        constexpr DWORD patience = 60'000; // a utility whose output is not read any more may never end
        DWORD longest = INFINITE;
        try {
            discardRest(runner.stdoutPipe);
        } catch (...) {
            longest = patience;
        }
        if (runner.waitForExit(longest))
            return;
    } catch (...) { // no waiting either
    }
    LogManager::log(LogLevel::Warning, L"The utility '%s' (process %lu) is left running: its end cannot be awaited",
        name.c_str(), runner.processId);
}

/// The rest of a run after the start. @param code  gets the exit code
void finish(
    vexecutil& runner, const std::wstring& name, const std::wstring& shown, std::wstring& output, std::uint32_t& code)
{
    {
        // Read before waiting: a full pipe would block the child for ever.
        const std::vector<char> bytes = readAll(runner.stdoutPipe);
        output = toWide({bytes.data(), bytes.size()}, ansiCodePage);
    }
    if (runner.stdoutPipe.wasCutOff()) {
        LogManager::log(LogLevel::Warning,
            L"The output of the utility '%s' was cut off: a process that it started still holds it", name.c_str());
    }
    runner.waitForExit(INFINITE); // the utilities decide themselves how long they take
    code = runner.exitCode();
    if (code != 0) {
        throw vexception(L"Execute " + name + L" " + shown + L" failed with error code " +
                             std::to_wstring(static_cast<std::int32_t>(code)) + L": " + output,
            {"execKelvoUtil"});
    }
}

void run(const std::wstring& name, const std::wstring& arguments, const std::wstring& shown, std::wstring* output,
    const std::string* input, bool bin64, std::uint32_t& code)
{
    vexecutil runner;
    const DWORD started = GetTickCount();
    try {
        startKelvoUtilInternal(name, arguments, input, runner, bin64);
        std::wstring unwanted;
        finish(runner, name, shown, output ? *output : unwanted, code);
    } catch (...) {
        awaitEnd(runner, name);
        throw;
    }
    writeToUtilExecLog(false, runner.path, arguments, GetTickCount() - started);
}

} // namespace

std::wstring findUtilPath(const std::wstring& name, bool bin64)
{
    const std::wstring directory =
        path::combine(panel::installationDirectory(), bin64 ? L"admin\\bin64" : L"admin\\bin");
    std::wstring path = path::combine(directory, path::hasExtension(name, L".exe") ? name : name + L".exe");
    if (!path::isFile(path))
        throw vexception(L"Unable to find path of '" + name + L"'", {"findUtilPath"});
    return path;
}

void startKelvoUtilInternal(
    const std::wstring& name, const std::wstring& arguments, const std::string* input, vexecutil& runner, bool bin64)
{
    const auto call = [&](const wchar_t* format, const std::wstring& what) {
        return formatString(format, what.c_str(), maskArguments(arguments).c_str());
    };
    const auto describe = [&] { return call(L"Unable to call startKelvoUtilInternal(%s, %s)", name); };
    operation({RaiseSite("startKelvoUtilInternal"), RaiseSite("Start command")}, describe, [&](Span& span) {
        runner.path = findUtilPath(name, bin64);
        runner.arguments = arguments;
        runner.captureStdout = true;
        runner.stderrToStdout = true;
        runner.hideWindow = 1;
        runner.pipeStdin = input != nullptr;
        writeToUtilExecLog(true, runner.path, arguments, 0);
        LogManager::log(LogLevel::Info, L"Execute %s %s", runner.path.c_str(), maskArguments(arguments).c_str());
        runner.start();
        if (input)
            runner.stdinPipe.write(input->data(), input->size(), ExecPipe::lastWrite);
        // The tag's text is part of the interface with the panel's log readers; do not correct.
        if (span.isActive())
            span.tag("if_error", call(L"Unabale to start command: %s %s", runner.path)); // sic
    });
}

std::uint32_t execKelvoUtil(const std::wstring& name, const std::wstring& arguments, std::wstring* output,
    bool throwOnError, const std::string* input, bool bin64)
{
    auto code = static_cast<std::uint32_t>(-1);
    try {
        const std::wstring shown = maskArguments(arguments);
        const auto describe = [&](const wchar_t* format) {
            return [&, format] { return formatString(format, name.c_str(), shown.c_str()); };
        };
        // Both texts (sic) and lines are part of the interface with the panel's log readers; do not correct.
        operation({"execKelvoUtil", 127}, describe(L"Unabke to call execKelvoUtil(%s %s"), [&](Span&) {
            if (output)
                output->clear();
            operation({RaiseSite("execKelvoUtil", 120), RaiseSite("Executre command")},
                describe(L"Unable to executre command: %s %s"),
                [&](Span&) { run(name, arguments, shown, output, input, bin64, code); });
        });
        return 0;
    } catch (...) {
        if (throwOnError)
            throw;
        return code;
    }
}
