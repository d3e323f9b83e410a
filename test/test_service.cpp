// A service that reports the state named by its command line and ends when it is stopped.

#include <windows.h>

#include <cstdlib>

namespace {

SERVICE_STATUS_HANDLE handle;
DWORD wantedState;
HANDLE stopped;

void report(DWORD state)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
    SetServiceStatus(handle, &status);
}

void WINAPI control(DWORD code)
{
    if (code == SERVICE_CONTROL_STOP)
        SetEvent(stopped);
}

void WINAPI serviceMain(DWORD, wchar_t**)
{
    handle = RegisterServiceCtrlHandlerW(L"", control);
    report(SERVICE_RUNNING); // the service control manager takes no other state first
    report(wantedState);
    WaitForSingleObject(stopped, 60'000);
    report(SERVICE_STOPPED);
}

} // namespace

int main(int, char** argv)
{
    wantedState = static_cast<DWORD>(std::atoi(argv[1]));
    stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    wchar_t name[] = L"";
    const SERVICE_TABLE_ENTRYW table[] = {{name, serviceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
