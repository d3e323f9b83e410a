#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// The panel's machine-wide settings, which are values of one registry key.
namespace config {

inline constexpr wchar_t configKey[] = L"SOFTWARE\\Kelvo\\ZRM Config\\Config";
/// The registry view of all values, the 32-bit view, as the functions of `registry` number it.
inline constexpr int configView = 1;

/// Reads a value of the key; returns and throws as registry::lookup.
LSTATUS lookup(const std::wstring& name, DWORD& number);
LSTATUS lookup(const std::wstring& name, std::wstring& text);

/// Opens the key for reading several values with registry::lookup.
/// @return empty when it cannot be opened; readers then use the defaults of missing values
UniqueRegistryKey openKey() noexcept;

/// PRODUCT_ROOT_D, the panel's installation directory, normalised like the management service's answer.
/// @throws vosexception when it is not set or cannot be normalised; vexception when it has the wrong type
std::wstring installationDirectory();

/// PRODUCT_DATA_D, the panel's data directory. @throws as installationDirectory()
std::wstring dataDirectory();

/// The switch `Debug`: records of the levels Info, Warning and Result go to the debug log and the event log too.
bool isDebug() noexcept;

/// PipeConnectTryCount, the number of attempts to connect to the management service; `fallback` when it is 0 or
/// missing. After a value of the wrong type the registry is not read again.
DWORD pipeConnectTryCount(DWORD fallback) noexcept;

} // namespace config
