#pragma once

#include <windows.h>

#include <string>

/// Removes the oldest dumps ("*.dmp" by their last-write time) of a directory until no more than maxCount are left.
/// Directories, links and everything of another extension stay. A dump that cannot be removed is passed over.
/// Without a location there is nothing to do. Never throws.
void pruneCrashDumps(const std::wstring& location, DWORD maxCount) noexcept;
