#include "system/process/vexecutil.h"

#include "runtime/identity.h"
#include "runtime/path.h"
#include "runtime/text/command_line.h"
#include "runtime/text/mask.h"
#include "system/process/child_handles.h"
#include "system/process/child_identity.h"
#include "system/process/desktop_access.h"

#include <optional>
#include <vector>

namespace {

bool isRedirected(const vexecutil& child)
{
    return child.pipeStdin || child.captureStdout || child.pipeStderr || child.stderrToStdout ||
           !child.stdinFile.empty() || !child.stdoutFile.empty() || !child.stderrFile.empty();
}

/// @throws vosexception "CreateProcess '<command line>'" for a path that is not absolute: the system would search the
/// current directory and PATH for it
std::wstring absoluteExecutable(const vexecutil& child, const std::wstring& commandLine)
{
    std::wstring executable = child.path;
    if (executable.empty()) {
        const std::vector<std::wstring> words = splitArguments(child.arguments);
        executable = words.empty() ? std::wstring() : words.front();
    }
    if (!path::isAbsolute(executable)) {
        throwOsError(
            ERROR_BAD_PATHNAME, L"CreateProcess '" + maskCommandLine(commandLine) + L"'", {"vexecutil::start"});
    }
    return executable;
}

DWORD creationFlags(const vexecutil& child) noexcept
{
    DWORD flags = GetPriorityClass(GetCurrentProcess());
    if (child.hideWindow > 0)
        flags |= CREATE_NO_WINDOW;
    if (child.suspended)
        flags |= CREATE_SUSPENDED;
    if (child.environment)
        flags |= CREATE_UNICODE_ENVIRONMENT;
    return flags;
}

/// Arguments of process creation beside the start-up record.
struct Creation
{
    const std::wstring& executable;
    const std::wstring& commandLine;
    const wchar_t* environment; // null: the parent's // weak
    bool inheritHandles;
    DWORD flags;
};

/// Creates the process with the token of chooseChildIdentity.
PROCESS_INFORMATION create(const Creation& creation, STARTUPINFOEXW& startup)
{
    const UniqueHandle token = chooseChildIdentity();
    auto* const environment = const_cast<wchar_t*>(creation.environment); // only read
    std::wstring commandLine = creation.commandLine;                      // CreateProcessW may write to it
    PROCESS_INFORMATION started{};
    BOOL created = FALSE;
    if (token) {
        grantDesktopAccess(identity::userOf(token.get()));
        created = CreateProcessAsUserW(token.get(), creation.executable.c_str(), commandLine.data(), nullptr, nullptr,
            creation.inheritHandles, creation.flags, environment, nullptr, &startup.StartupInfo, &started);
    } else {
        created = CreateProcessW(creation.executable.c_str(), commandLine.data(), nullptr, nullptr,
            creation.inheritHandles, creation.flags, environment, nullptr, &startup.StartupInfo, &started);
    }
    if (!created) {
        const DWORD code = GetLastError();
        const std::wstring call = token ? L"CreateProcessAsUser '" : L"CreateProcess '";
        throwOsError(code, call + maskCommandLine(creation.commandLine) + L"'", {"vexecutil::start"});
    }
    return started;
}

} // namespace

void vexecutil::start()
{
    const std::wstring commandLine = path.empty() ? arguments : L"\"" + path + L"\" " + arguments;
    const std::wstring executable = absoluteExecutable(*this, commandLine);
    wchar_t desktop[] = L"winsta0\\default";
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup.StartupInfo;
    startup.StartupInfo.lpDesktop = inheritDesktop ? nullptr : desktop;
    DWORD flags = creationFlags(*this);

    StandardHandles standard;
    std::optional<HandleList> list;
    if (isRedirected(*this) || inheritHandles) {
        standard = standardHandles({pipeStdin ? &stdinPipe : nullptr, captureStdout ? &stdoutPipe : nullptr,
            pipeStderr ? &stderrPipe : nullptr, stdinFile, stdoutFile, stderrFile, stderrToStdout});
        startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup.StartupInfo.hStdInput = standard.handles[0];
        startup.StartupInfo.hStdOutput = standard.handles[1];
        startup.StartupInfo.hStdError = standard.handles[2];
        if (!inheritHandles) {
            list.emplace(standard.handles);
            startup.lpAttributeList = list->get();
            startup.StartupInfo.cb = sizeof startup;
            flags |= EXTENDED_STARTUPINFO_PRESENT;
        }
    } else {
        startup.StartupInfo.dwFlags = STARTF_USESHOWWINDOW;
        startup.StartupInfo.wShowWindow = SW_HIDE;
        flags |= CREATE_NEW_CONSOLE;
    }
    if (!workingDirectory.empty() && !SetCurrentDirectoryW(workingDirectory.c_str()))
        throwLastError({L"SetCurrentDirectory '", workingDirectory, L"'"}, {"vexecutil::start"});

    const bool inherit = inheritHandles || (list && !list->empty());
    const PROCESS_INFORMATION started = create({executable, commandLine, environment, inherit, flags}, startup);
    process.reset(started.hProcess);
    thread.reset(started.hThread);
    processId = started.dwProcessId;
    threadId = started.dwThreadId;
    for (ExecPipe* const pipe : {&stdinPipe, &stdoutPipe, &stderrPipe})
        pipe->attach(process.get());
}

bool vexecutil::waitForExit(DWORD timeoutMilliseconds) const
{
    switch (WaitForSingleObject(process.get(), timeoutMilliseconds)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:
        return true;
    case WAIT_TIMEOUT:
        return false;
    default:
        throwLastError({L"Lock object"}, {"vexecutil::waitForExit"});
    }
}

std::uint32_t vexecutil::exitCode() const
{
    DWORD code = 0;
    if (!GetExitCodeProcess(process.get(), &code))
        throwLastError({L"GetExitCodeProcess"}, {"vexecutil::exitCode"});
    return code;
}
