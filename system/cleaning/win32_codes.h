#pragma once

#include <windows.h>

// Holds codes only: Win32 codes that the cleaning of directories uses, and codes of its own.

// ERROR_DIRECTORY_NOT_SUPPORTED, ERROR_UNTRUSTED_MOUNT_POINT and ERROR_REPARSE_POINT_ENCOUNTERED, which MinGW-w64's
// headers lack.
inline constexpr DWORD unexpectedDirectory = 336, untrustedLink = 448, leadsElsewhere = 4395;

/// Outcomes for which Windows has no code, in the range that it leaves to applications.
enum OwnCode : DWORD
{
    holdsNeeded = 1U << 29, // the directory is, or contains, one that the machine needs
    liesInNeeded,           // it lies in a directory whose content the machine needs
    isVolumeRoot,           // it is the root of a volume that is also used otherwise
    cannotBeFollowed,       // a link on the way has no path to go on with
    leadsDifferently,       // the system finds another directory at the same path
    hasNoIdentity           // a local directory that cannot be compared with the needed ones
};

/// Whether the code says that no object of this name exists.
constexpr bool isMissing(DWORD code) noexcept
{
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

/// A server or a drive that is not there counts as a missing path.
constexpr DWORD missingIfUnreachable(DWORD code) noexcept
{
    const bool isUnreachable = code == ERROR_BAD_NETPATH || code == ERROR_BAD_NET_NAME || code == ERROR_NOT_READY;
    return isUnreachable ? DWORD{ERROR_PATH_NOT_FOUND} : code;
}
