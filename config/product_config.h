#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// The panel's machine-wide settings: the values of one registry key, in the 32-bit view.
namespace config {

inline constexpr wchar_t configKey[] = L"SOFTWARE\\Kelvo\\ZRM Config\\Config";
/// The view in which every value is read, as the functions of `registry` number it.
inline constexpr int configView = 1;

/// Reads a value of the key. @return the system's status; see registry::lookup, also for what is thrown
LSTATUS lookup(const std::wstring& name, DWORD& number);
LSTATUS lookup(const std::wstring& name, std::wstring& text);

/// The key, open for reading several values at once with registry::lookup; empty when it cannot be opened,
/// which means what a missing value means.
UniqueRegistryKey openKey() noexcept;

/// PRODUCT_ROOT_D, the panel's installation directory, normalised like the management service's answer.
/// @throws vosexception when it is not set or cannot be normalised; vexception when it has the wrong type
std::wstring installationDirectory();

/// PRODUCT_DATA_D, the panel's data directory. @throws as installationDirectory()
std::wstring dataDirectory();

/// The switch `Debug`: records of the lower levels go to the log file and the event log too. Never throws.
bool isDebug() noexcept;

/// PipeConnectTryCount, how often to try to reach the management service; `fallback` when it is 0 or not set.
/// Never throws; after a value of the wrong type it is not read again.
DWORD pipeConnectTryCount(DWORD fallback) noexcept;

} // namespace config
