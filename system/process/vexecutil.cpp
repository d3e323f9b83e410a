#include "system/process/vexecutil.h"

#include "runtime/identity.h"
#include "runtime/path.h"
#include "runtime/text/command_line.h"
#include "runtime/text/mask.h"
#include "system/process/child_identity.h"
#include "system/process/desktop_access.h"

#include <array>
#include <memory>
#include <vector>

namespace {

/// What the child gets as its standard handles, and what of it must be closed once the child has it.
struct StandardHandles
{
    std::array<HANDLE, 3> handles{}; // input, output, error // weak
    std::vector<UniqueFile> owned;

    HANDLE own(UniqueFile handle)
    {
        owned.push_back(std::move(handle));
        return owned.back().get();
    }
};

UniqueFile openInheritable(const std::wstring& path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    UniqueFile file(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, disposition,
        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        throwLastError({L"CreateFile '", path, L"'"}, {"vexecutil::start"});
    return file;
}

/// A handle of ours as the child can have it; none, or one that is no longer valid, becomes none.
UniqueFile inheritableCopy(HANDLE handle)
{
    HANDLE copy = nullptr;
    const HANDLE self = GetCurrentProcess();
    if (!handle || handle == INVALID_HANDLE_VALUE ||
        !DuplicateHandle(self, handle, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS))
        return UniqueFile();
    return UniqueFile(copy);
}

StandardHandles standardHandles(vexecutil& child)
{
    StandardHandles chosen;
    auto& [input, output, error] = chosen.handles;
    if (child.pipeStdin)
        input = chosen.own(child.stdinPipe.create(ExecPipe::Direction::toChild));
    else if (!child.stdinFile.empty())
        input = chosen.own(openInheritable(child.stdinFile, GENERIC_READ, OPEN_EXISTING));
    else
        input = chosen.own(inheritableCopy(GetStdHandle(STD_INPUT_HANDLE)));

    if (child.captureStdout)
        output = chosen.own(child.stdoutPipe.create(ExecPipe::Direction::fromChild));
    else if (!child.stdoutFile.empty())
        output = chosen.own(openInheritable(child.stdoutFile, GENERIC_WRITE, OPEN_ALWAYS));
    else
        output = chosen.own(inheritableCopy(GetStdHandle(STD_OUTPUT_HANDLE)));

    if (child.pipeStderr)
        error = chosen.own(child.stderrPipe.create(ExecPipe::Direction::fromChild));
    else if (child.stderrToStdout)
        error = chosen.own(inheritableCopy(output));
    else if (!child.stderrFile.empty())
        error = chosen.own(openInheritable(child.stderrFile, GENERIC_WRITE, OPEN_ALWAYS));
    else
        error = chosen.own(inheritableCopy(GetStdHandle(STD_ERROR_HANDLE)));
    return chosen;
}

bool isRedirected(const vexecutil& child)
{
    return child.pipeStdin || child.captureStdout || child.pipeStderr || child.stderrToStdout ||
           !child.stdinFile.empty() || !child.stdoutFile.empty() || !child.stderrFile.empty();
}

/// Start-up attributes that let these handles, and no other inheritable ones, reach the child.
class HandleList
{
public:
    explicit HandleList(const std::array<HANDLE, 3>& handles)
    {
        for (const HANDLE handle : handles) {
            if (handle && handle != INVALID_HANDLE_VALUE)
                handles_.push_back(handle);
        }
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        memory_.resize(size);
        if (!InitializeProcThreadAttributeList(get(), 1, 0, &size))
            throwLastError({L"InitializeProcThreadAttributeList"}, {"vexecutil::start"});
        if (!handles_.empty() &&
            !UpdateProcThreadAttribute(get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                static_cast<void*>(handles_.data()), handles_.size() * sizeof(HANDLE), nullptr, nullptr)) {
            const DWORD code = GetLastError();
            DeleteProcThreadAttributeList(get());
            throwOsError(code, L"UpdateProcThreadAttribute", {"vexecutil::start"});
        }
    }
    HandleList(const HandleList&) = delete;
    HandleList& operator=(const HandleList&) = delete;
    ~HandleList() { DeleteProcThreadAttributeList(get()); }

    LPPROC_THREAD_ATTRIBUTE_LIST get() noexcept
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    }
    bool empty() const noexcept { return handles_.empty(); }

private:
    std::vector<HANDLE> handles_; // weak
    std::vector<BYTE> memory_;
};

} // namespace

void vexecutil::start()
{
    const RaiseSite site("vexecutil::start");
    const std::wstring commandLine = path.empty() ? arguments : L"\"" + path + L"\" " + arguments;
    std::wstring executable = path;
    if (path.empty()) {
        const std::vector<std::wstring> words = splitArguments(arguments);
        executable = words.empty() ? std::wstring() : words.front();
    }
    // Anything else would be looked for in the current directory and along PATH.
    if (!::path::isAbsolute(executable))
        throwOsError(ERROR_BAD_PATHNAME, L"CreateProcess '" + maskCommandLine(commandLine) + L"'", site);

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup.StartupInfo;
    wchar_t desktop[] = L"winsta0\\default";
    startup.StartupInfo.lpDesktop = inheritDesktop ? nullptr : desktop;
    DWORD flags = GetPriorityClass(GetCurrentProcess());
    if (hideWindow > 0)
        flags |= CREATE_NO_WINDOW;
    if (suspended)
        flags |= CREATE_SUSPENDED;
    if (environment)
        flags |= CREATE_UNICODE_ENVIRONMENT;

    const bool redirected = isRedirected(*this);
    StandardHandles standard;
    std::unique_ptr<HandleList> list;
    if (redirected || inheritHandles) {
        standard = standardHandles(*this);
        startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup.StartupInfo.hStdInput = standard.handles[0];
        startup.StartupInfo.hStdOutput = standard.handles[1];
        startup.StartupInfo.hStdError = standard.handles[2];
        if (!inheritHandles) {
            list = std::make_unique<HandleList>(standard.handles);
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
        throwLastError({L"SetCurrentDirectory '", workingDirectory, L"'"}, site);

    const UniqueHandle token = chooseChildIdentity();
    PROCESS_INFORMATION started{};
    const BOOL inherit = inheritHandles || (list && !list->empty());
    auto* const environmentBlock = const_cast<wchar_t*>(environment);
    std::wstring scratch = commandLine; // the system may write to it
    BOOL created = FALSE;
    if (token) {
        grantDesktopAccess(identity::userOf(token.get()));
        created = CreateProcessAsUserW(token.get(), executable.c_str(), scratch.data(), nullptr, nullptr, inherit,
            flags, environmentBlock, nullptr, &startup.StartupInfo, &started);
    } else {
        created = CreateProcessW(executable.c_str(), scratch.data(), nullptr, nullptr, inherit, flags,
            environmentBlock, nullptr, &startup.StartupInfo, &started);
    }
    if (!created) {
        const DWORD code = GetLastError();
        const std::wstring call = token ? L"CreateProcessAsUser '" : L"CreateProcess '";
        throwOsError(code, call + maskCommandLine(commandLine) + L"'", site);
    }
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

void vexecutil::terminate() const noexcept
{
    constexpr DWORD itsEnd = 5000;
    if (process && TerminateProcess(process.get(), 1))
        WaitForSingleObject(process.get(), itsEnd);
}

std::uint32_t vexecutil::exitCode() const
{
    DWORD code = 0;
    if (!GetExitCodeProcess(process.get(), &code))
        throwLastError({L"GetExitCodeProcess"}, {"vexecutil::exitCode"});
    return code;
}
