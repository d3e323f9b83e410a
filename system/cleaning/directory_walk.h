#pragma once

#include "system/cleaning/open_object.h"

/// Opens a directory that is to be cleaned, and holds it so that nobody can rename or replace it (unless somebody
/// already has it open for that). Its path is walked from the volume's root, each step by the handle of the one
/// before; a link on the way, or at its end, is followed only if it is the machine's own.
/// @param path  absolute, with or without the prefix \\?\ .
/// @return a Win32 code: one of isMissing for a missing directory, ERROR_DIRECTORY for a file, untrustedLink for a
///         link of somebody else, leadsElsewhere when what was opened does not lie where it was looked for
/// @throws vosexception as path::normalise, for where a link leads
DWORD openCleanedDirectory(IDirectorySource& source, const std::wstring& path, DirectoryAt& opened);
