#pragma once

#include <windows.h>

#include <string>

/// Queries of the service control manager. Each call opens and closes its own handles and asks only for the rights to
/// connect and to query. `machine` and `database` may be null: the local machine, its active database.
namespace service {

/// Whether a service of this name is installed.
/// @throws vosexception "OpenSCManager", "OpenService '<name>'"
bool exist(const std::wstring& name);

/// Fills the status record. @return 0
/// @throws vosexception "OpenSCManager", "OpenService '<name>'", "QueryServiceStatus '<name>'". Before the last two
///         the status record is logged as it is.
DWORD queryStatusService(
    SERVICE_STATUS& status, const std::wstring& name, const wchar_t* machine, const wchar_t* database);

/// The current state, by the number of the service control manager (1 stopped ... 7 paused).
/// @throws vosexception as queryStatusService
DWORD currentState(const std::wstring& name);

/// The start type, by the number of the service control manager (0 boot ... 4 disabled).
/// @throws vosexception "OpenSCManager", "OpenService '<name>'", "query service config '<name>'"
DWORD serviceStartupType(
    const std::wstring& name, const wchar_t* machine = nullptr, const wchar_t* database = nullptr);

} // namespace service
