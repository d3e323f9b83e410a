// Stand-in for the panel:
//   devpanel install | ensure | serve [milliseconds before a reply [pipe [installation directory, dumps]]]
//     | service | command (services, see below) | hold (keeps its console open)

#include "devpanel/install.h"
#include "devpanel/pipe_service.h"
#include "runtime/failure/vexception.h"
#include "runtime/handle/handles.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "test/kit.h"

#include <windows.h>

#include <cstdio>
#include <string_view>
#include <thread>

namespace {

SERVICE_STATUS_HANDLE serviceHandle;
HANDLE stopped;

void report(DWORD state, DWORD exitCode = 0)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
    status.dwWin32ExitCode = exitCode == 0 ? 0 : ERROR_SERVICE_SPECIFIC_ERROR;
    status.dwServiceSpecificExitCode = exitCode;
    SetServiceStatus(serviceHandle, &status);
}

void beginService()
{
    stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    serviceHandle = RegisterServiceCtrlHandlerW(L"", [](DWORD control) {
        if (control == SERVICE_CONTROL_STOP)
            SetEvent(stopped);
    });
    report(SERVICE_RUNNING);
}

PipeSecurity securityNamed(std::wstring_view word)
{
    return word == L"open"      ? PipeSecurity::openToUsers
           : word == L"default" ? PipeSecurity::byDefault
                                : PipeSecurity::ofUser;
}

/// The service runs until it is stopped, for at most a minute. With an argument it serves a pipe of that name, which
/// its own account owns; with a second one, "open" or "default", that pipe has another security. Its image lies in
/// admin\bin64 of the installation directory.
void WINAPI runService(DWORD argc, wchar_t** argv)
{
    constexpr DWORD longest = 60'000;
    beginService();
    if (!kit::isWine()) // a service does not inherit the kit's variables
        SetEnvironmentVariableW(L"MENDKIT_PROOF", L"1");
    if (argc > 1) {
        std::thread(servePipe, 0, argv[1], PanelValues{path::combine(moduleFileName(), L"..\\..\\..")},
            securityNamed(argc > 2 ? argv[2] : L""), longest)
            .detach();
    }
    WaitForSingleObject(stopped, longest);
    report(SERVICE_STOPPED);
}

/// A service that runs a command line, its first argument, and ends with the command's exit code. The output goes to
/// the file that the second one names.
void WINAPI runCommand(DWORD argc, wchar_t** argv)
{
    beginService();
    DWORD code = 1;
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    const UniqueFile output(CreateFileW(
        argc > 2 ? argv[2] : L"NUL", GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output.get();
    PROCESS_INFORMATION started{};
    if (argc > 2 && CreateProcessW(nullptr, argv[1], nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr,
                        &startup, &started)) {
        const UniqueHandle process(started.hProcess), thread(started.hThread);
        const HANDLE ends[] = {process.get(), stopped};
        if (WaitForMultipleObjects(2, ends, FALSE, INFINITE) != WAIT_OBJECT_0)
            TerminateProcess(process.get(), 1);
        WaitForSingleObject(process.get(), 5000);
        GetExitCodeProcess(process.get(), &code);
    }
    report(SERVICE_STOPPED, code);
}

int dispatch(LPSERVICE_MAIN_FUNCTIONW service)
{
    wchar_t name[] = L"";
    const SERVICE_TABLE_ENTRYW table[] = {{name, service}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const std::wstring_view mode = argc > 1 ? argv[1] : L"";
    try {
        if (mode == L"install") {
            installPanel();
        } else if (mode == L"ensure") {
            ensurePipe();
        } else if (mode == L"serve") {
            servePipe(argc > 2 ? static_cast<DWORD>(_wtoi(argv[2])) : 0, argc > 3 ? argv[3] : panelPipe,
                argc > 5 ? PanelValues{argv[4], argv[5]} : PanelValues{});
        } else if (mode == L"service") {
            return dispatch(runService);
        } else if (mode == L"hold") {
            std::puts("ready");
            std::fflush(stdout);
            Sleep(600'000);
        } else if (mode == L"command") {
            return dispatch(runCommand);
        } else {
            return 1;
        }
        return 0;
    } catch (const vexception& failure) {
        std::fprintf(stderr, "%ls\n", failure.fullText().c_str());
        return 1;
    }
}
