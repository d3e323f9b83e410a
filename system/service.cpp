#include "system/service.h"

#include "logging/log_manager.h"
#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"

#include <vector>

namespace service {

namespace {

constexpr bool dumpServiceStatus = true;

/// A connection to the service control manager.
class servicemanager
{
public:
    servicemanager(DWORD access, const wchar_t* machine, const wchar_t* database)
        : handle_(OpenSCManagerW(machine, database, access))
    {
        // The trail's name is part of the interface with the panel's log readers; do not correct.
        if (!handle_)
            throwLastError({L"OpenSCManager"}, {"`anonymous-namespace'::servicemanager::servicemanager"});
    }

    /// Empty when the service cannot be opened; GetLastError has the code.
    UniqueService open(const std::wstring& name, DWORD access) const
    {
        return UniqueService(OpenServiceW(handle_.get(), name.c_str(), access));
    }

private:
    UniqueService handle_;
};

/// Throws the last error as the failure of a call for the service.
[[noreturn]] void throwFailure(const wchar_t* call, const std::wstring& name, RaiseSite site)
{
    throwLastError({call, L" '", name, L"'"}, site);
}

void logStatus(const SERVICE_STATUS& status)
{
    LogManager::log(LogLevel::Info, L"  Service Type: 0x%x", status.dwServiceType);
    LogManager::log(LogLevel::Info, L"  Controls Accepted: 0x%x", status.dwControlsAccepted);
    LogManager::log(LogLevel::Info, L"  Current State: %d", status.dwCurrentState);
    LogManager::log(LogLevel::Info, L"  Exit Code: %d", status.dwWin32ExitCode);
    LogManager::log(LogLevel::Info, L"  Service Specific Exit Code: %d", status.dwServiceSpecificExitCode);
    LogManager::log(LogLevel::Info, L"  Check Point: %d", status.dwCheckPoint);
    LogManager::log(LogLevel::Info, L"  Wait Hint: %d", status.dwWaitHint);
}

} // namespace

bool exist(const std::wstring& name)
{
    const servicemanager manager(SC_MANAGER_CONNECT, nullptr, nullptr);
    if (manager.open(name, SERVICE_QUERY_STATUS))
        return true;
    const DWORD code = GetLastError();
    if (code == ERROR_SERVICE_DOES_NOT_EXIST)
        return false;
    throwOsError(code, L"OpenService '" + name + L"'", {"service::exist"});
}

DWORD queryStatusService(
    SERVICE_STATUS& status, const std::wstring& name, const wchar_t* machine, const wchar_t* database)
{
    const servicemanager manager(SC_MANAGER_CONNECT, machine, database);
    try {
        const UniqueService service = manager.open(name, SERVICE_QUERY_STATUS);
        if (!service)
            throwFailure(L"OpenService", name, {"service::queryStatusService"});
        if (!QueryServiceStatus(service.get(), &status))
            throwFailure(L"QueryServiceStatus", name, {"service::queryStatusService"});
    } catch (...) {
        if (dumpServiceStatus)
            logStatus(status);
        throw;
    }
    return 0;
}

DWORD currentState(const std::wstring& name)
{
    SERVICE_STATUS status{};
    if (queryStatusService(status, name, nullptr, nullptr) != 0)
        throwFailure(L"query status of service", name, {"service::currentState"});
    return status.dwCurrentState;
}

DWORD serviceStartupType(const std::wstring& name, const wchar_t* machine, const wchar_t* database)
{
    const RaiseSite site("service::serviceStartupType");
    const servicemanager manager(SC_MANAGER_CONNECT, machine, database);
    const UniqueService service = manager.open(name, SERVICE_QUERY_CONFIG);
    if (!service)
        throwFailure(L"OpenService", name, site);

    constexpr DWORD firstSize = 260;
    std::vector<BYTE> buffer(firstSize); // allocated by operator new: aligned for any record
    for (;;) {
        const auto config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
        const DWORD size = static_cast<DWORD>(buffer.size());
        DWORD needed = 0;
        if (QueryServiceConfigW(service.get(), config, size, &needed))
            return config->dwStartType;
        const DWORD code = GetLastError();
        // Do not repeat with a size that has just failed.
        if (code != ERROR_INSUFFICIENT_BUFFER || needed <= size)
            throwOsError(code, L"query service config '" + name + L"'", site);
        buffer = std::vector<BYTE>(needed);
    }
}

} // namespace service
