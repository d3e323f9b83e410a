#pragma once

#include "runtime/handle/handles.h"

#include <string>

/// Access to the registry. `root` is a predefined key. `view` selects the registry view: 1 the 32-bit view, 2 or 3
/// the 64-bit view, another number the default view of the process.
///
/// The lookups return the system's status: 0 for success, ERROR_FILE_NOT_FOUND for a missing key or value. Only
/// success changes the output. They throw a vexception for a value of the wrong type or size.
namespace registry {

/// Opens a key. @param access  the rights, with KEY_WOW64_32KEY or KEY_WOW64_64KEY for a view
/// @return the system's status; on failure `key` is empty
LSTATUS tryOpen(HKEY root, const wchar_t* subKey, REGSAM access, UniqueRegistryKey& key) noexcept;

/// Opens a key that must exist. Part of the panel's registry interface; only tests use it.
/// @throws vosexception "RegOpenKeyEx subKey=..."
UniqueRegistryKey open(HKEY root, const std::wstring& subKey, REGSAM access);

/// Opens a key or creates it. @throws vosexception "RegCreateKeyEx subKey=..."
UniqueRegistryKey create(HKEY root, const std::wstring& subKey, REGSAM access);

/// Reads a REG_DWORD of an open key.
/// @throws vexception "RegQueryValueEx invalid type of '...'", "RegQueryValueEx invalid size of '...'"
LSTATUS lookup(HKEY key, const std::wstring& name, DWORD& number);

/// Reads a REG_SZ or REG_EXPAND_SZ (expanded) of an open key up to the first zero character.
/// @throws vexception "RegGetValue invalid type of '...'"
LSTATUS lookup(HKEY key, const std::wstring& name, std::wstring& text);

/// Opens the key, reads the value and closes the key. Error texts name the value subKey\name.
LSTATUS lookup(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD& number, int view);

/// @param type  the required type; REG_SZ and REG_EXPAND_SZ are accepted for each other
LSTATUS lookup(
    HKEY root, const std::wstring& subKey, const std::wstring& name, std::wstring& text, DWORD type, int view);

/// Reads a text that must exist.
/// @throws vosexception "lookup subKey=... value=..."; vexception as lookup()
std::wstring getstr(HKEY root, const std::wstring& subKey, const std::wstring& name, int view);

/// Writes a REG_SZ or a REG_DWORD. @throws vosexception "RegSetValueEx valueName=..."
void set(HKEY key, const std::wstring& name, const std::wstring& text);
void set(HKEY key, const std::wstring& name, DWORD number);

} // namespace registry
