#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// Access to the registry. `root` is a predefined key; `view` picks the registry view: 1 the 32-bit one, 2 or
/// 3 the 64-bit one, anything else the caller's own.
///
/// The lookups return the system's status (0 for success, ERROR_FILE_NOT_FOUND for a missing key or value)
/// and leave the output alone unless they succeed; a value of the wrong type or size is a vexception.
namespace registry {

/// Opens the key. @param access  rights, with KEY_WOW64_32KEY or KEY_WOW64_64KEY for a view
/// @return the system's status; the key is empty unless it is 0
LSTATUS tryOpen(HKEY root, const wchar_t* subKey, REGSAM access, UniqueRegistryKey& key) noexcept;

/// The same for a key that must be there. @throws vosexception "RegOpenKeyEx subKey=..."
UniqueRegistryKey open(HKEY root, const std::wstring& subKey, REGSAM access);

/// Opens the key or creates it. @throws vosexception "RegCreateKeyEx subKey=..."
UniqueRegistryKey create(HKEY root, const std::wstring& subKey, REGSAM access);

/// Reads a REG_DWORD of an open key.
/// @throws vexception "RegQueryValueEx invalid type of '...'", "RegQueryValueEx invalid size of '...'"
LSTATUS lookup(HKEY key, const std::wstring& name, DWORD& number);

/// Reads a REG_SZ or REG_EXPAND_SZ (expanded) of an open key, up to its first zero character.
/// @throws vexception "RegGetValue invalid type of '...'"
LSTATUS lookup(HKEY key, const std::wstring& name, std::wstring& text);

/// The same for a key that is opened and closed here; texts name subKey\name.
LSTATUS lookup(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD& number, int view);

/// @param type  the type that the value must have; REG_SZ and REG_EXPAND_SZ stand for each other
LSTATUS lookup(
    HKEY root, const std::wstring& subKey, const std::wstring& name, std::wstring& text, DWORD type, int view);

/// A text that must be there.
/// @throws vosexception "lookup subKey=... value=..."; vexception as the lookups do
std::wstring getstr(HKEY root, const std::wstring& subKey, const std::wstring& name, int view);

/// @throws vosexception "RegSetValueEx valueName=..."
void set(HKEY key, const std::wstring& name, const std::wstring& text);
void set(HKEY key, const std::wstring& name, DWORD number);

} // namespace registry
