#pragma once

#include <windows.h>

#include <string>

/// Deletes the oldest dumps ("*.dmp", by last-write time) of a directory until at most maxCount are left. Keeps
/// directories, links and files with other extensions. Skips a dump that cannot be deleted. Does nothing when the
/// location is empty. Never throws.
void pruneCrashDumps(const std::wstring& location, DWORD maxCount) noexcept;
