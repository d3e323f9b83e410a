#pragma once

#include <windows.h>

// Holds codes only: Win32 codes that the cleaning of directories uses.

// ERROR_DIRECTORY_NOT_SUPPORTED, ERROR_UNTRUSTED_MOUNT_POINT and ERROR_REPARSE_POINT_ENCOUNTERED, which MinGW-w64's
// headers lack.
inline constexpr DWORD unexpectedDirectory = 336, untrustedLink = 448, leadsElsewhere = 4395;

/// Whether the code says that no object of this name exists.
constexpr bool isMissing(DWORD code) noexcept
{
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}
