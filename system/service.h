#pragma once

#include <windows.h>

#include <string>

/// Questions to the service control manager. Each call opens and closes its own handles and asks for no right
/// beyond connecting and querying. `machine` and `database` may be null: the local machine, its active database.
namespace service {

/// Whether a service of that name is installed.
/// @throws vosexception "OpenSCManager", "OpenService '<name>'"
bool exist(const std::wstring& name);

/// Fills the status record. @return 0
/// @throws vosexception "OpenSCManager", "OpenService '<name>'", "QueryServiceStatus '<name>'"; the record as it then
///         stands is logged first, unless the first of these failed
DWORD queryStatusService(
    SERVICE_STATUS& status, const std::wstring& name, const wchar_t* machine, const wchar_t* database);

/// The current state as the service control manager numbers it (1 stopped ... 7 paused).
/// @throws vosexception as queryStatusService
DWORD currentState(const std::wstring& name);

/// The start type as the service control manager numbers it (0 boot ... 4 disabled).
/// @throws vosexception "OpenSCManager", "OpenService '<name>'", "query service config '<name>'"
DWORD serviceStartupType(
    const std::wstring& name, const wchar_t* machine = nullptr, const wchar_t* database = nullptr);

} // namespace service
