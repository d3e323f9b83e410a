#pragma once

#include "system/cleaning/open_object.h"

/// What the cleaning of this process's directories shares.
namespace cleaning {

/// The machine's file systems.
IDirectorySource& source();

/// Opens the directory afresh (openCleanedDirectory) and keeps it until another one is asked for: what is removed is
/// removed from the very directory that was listed. For one thread.
/// @param opened  set on success; valid until the next call
/// @return as openCleanedDirectory; ERROR_CURRENT_DIRECTORY for one that holds the system or this program
DWORD openDirectory(const std::wstring& path, const DirectoryAt*& opened);

/// The directory that is kept, if it is of this path; else as openDirectory.
DWORD directory(const std::wstring& path, const DirectoryAt*& opened);

} // namespace cleaning
