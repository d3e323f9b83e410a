// Stand-in for the panel:
//   devpanel install | ensure | serve [milliseconds before a reply [pipe [installation directory, dumps]]] | service

#include "devpanel/install.h"
#include "devpanel/pipe_service.h"
#include "runtime/failure/vexception.h"
#include "runtime/module.h"
#include "runtime/path.h"

#include <windows.h>

#include <cstdio>
#include <string_view>
#include <thread>

namespace {

SERVICE_STATUS_HANDLE serviceHandle;
HANDLE stopped;

void report(DWORD state)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
    SetServiceStatus(serviceHandle, &status);
}

/// The service runs until it is stopped, for at most a minute. With an argument it serves a pipe of that name, which
/// its own account owns. Its image lies in admin\bin64 of the installation directory.
void WINAPI runService(DWORD argc, wchar_t** argv)
{
    stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    serviceHandle = RegisterServiceCtrlHandlerW(L"", [](DWORD control) {
        if (control == SERVICE_CONTROL_STOP)
            SetEvent(stopped);
    });
    report(SERVICE_RUNNING);
    if (argc > 1)
        std::thread(servePipe, 0, argv[1], PanelValues{path::combine(moduleFileName(), L"..\\..\\..")},
            Con::ServerOverlappedPipe::Owner::user)
            .detach();
    WaitForSingleObject(stopped, 60'000);
    report(SERVICE_STOPPED);
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
            wchar_t name[] = L"";
            const SERVICE_TABLE_ENTRYW table[] = {{name, runService}, {nullptr, nullptr}};
            return StartServiceCtrlDispatcherW(table) ? 0 : 1;
        } else {
            return 1;
        }
        return 0;
    } catch (const vexception& failure) {
        std::fprintf(stderr, "%ls\n", failure.fullText().c_str());
        return 1;
    }
}
