// Makes only the calls of mendkit --get-service-status to the service control manager, and prints the same text: the
// reference for this command.

#include <windows.h>

#include <cstdio>

int wmain(int, wchar_t** argv)
{
    const wchar_t* const name = argv[1];
    const auto open = [&](DWORD access, auto ask) {
        const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
        const SC_HANDLE service = OpenServiceW(manager, name, access);
        ask(service);
        CloseServiceHandle(service);
        CloseServiceHandle(manager);
    };
    open(SERVICE_QUERY_STATUS, [](SC_HANDLE) {});
    open(SERVICE_QUERY_CONFIG, [](SC_HANDLE service) {
        BYTE buffer[8192];
        DWORD needed = 0;
        QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer), 260, &needed);
        QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer), needed, &needed);
    });
    SERVICE_STATUS status{};
    open(SERVICE_QUERY_STATUS, [&](SC_HANDLE service) { QueryServiceStatus(service, &status); });

    char utf8[1024];
    WideCharToMultiByte(CP_UTF8, 0, name, -1, utf8, sizeof utf8, nullptr, nullptr);
    std::printf("{\n\t\"name\" : \"%s\",\n\t\"status\" : \"%s\"\n}\n", utf8,
        status.dwCurrentState == SERVICE_RUNNING ? "running" : "other");
    return 0;
}
