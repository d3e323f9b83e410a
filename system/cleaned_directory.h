#pragma once

#include "system/idirectory_source.h"

/// Opens a directory that is to be cleaned, and holds it so that nobody can rename or replace it (unless somebody
/// already has it open for that). Its path is walked from the volume's root, each step by the handle of the one
/// before; a link on the way, or at its end, is followed only if it is the machine's own.
/// @param path  absolute, with or without the prefix \\?\ .
/// @return a Win32 code: ERROR_FILE_NOT_FOUND or ERROR_PATH_NOT_FOUND for a missing directory, ERROR_DIRECTORY for a
///         file, untrustedLink for a link of somebody else, leadsElsewhere when what was opened does
///         not lie where it was looked for
DWORD openCleanedDirectory(IDirectorySource& source, const std::wstring& path, DirectoryAt& opened);

/// Whether the code says that there is nothing of the name.
bool isMissing(DWORD code) noexcept;

/// Whether the object lies in the directory under just this name.
bool liesAt(std::wstring_view directory, std::wstring_view name, std::wstring_view location);
