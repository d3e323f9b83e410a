#pragma once

#include "system/cleaning/open_object.h"

/// Reaches the file system: the directory that is being cleaned, kept open between its listing and the removals.
namespace cleaning {

/// The file systems of the machine; the same object at every call.
IDirectorySource& source();

/// Opens the directory anew (openCleanedDirectory) and keeps it open until the next call that opens one. Entries are
/// thus removed from the same directory that was listed. Not safe for several threads.
/// @param opened  set on success; valid until the next call
/// @return as openCleanedDirectory; ERROR_CURRENT_DIRECTORY for one that contains the system directory or this
/// program
DWORD openDirectory(const std::wstring& path, const DirectoryAt*& opened);

/// The open directory if it was opened by this path; else as openDirectory.
DWORD directory(const std::wstring& path, const DirectoryAt*& opened);

} // namespace cleaning
