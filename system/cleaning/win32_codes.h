#pragma once

#include <windows.h>

// Win32 codes of the cleaning of directories.

// Codes of the system that its headers lack here: ERROR_DIRECTORY_NOT_SUPPORTED, ERROR_UNTRUSTED_MOUNT_POINT,
// ERROR_REPARSE_POINT_ENCOUNTERED.
inline constexpr DWORD unexpectedDirectory = 336, untrustedLink = 448, leadsElsewhere = 4395;

/// Whether the code says that there is nothing of the name.
constexpr bool isMissing(DWORD code) noexcept
{
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}
