#pragma once

#include "system/cleaning/open_object.h"

/// Decides, on a given source: opens a directory that is to be cleaned. The path is opened name by name from the
/// volume's root, each name relative to the handle of the directory before it. A link in the path or at its end is
/// followed only if it is trusted (IDirectorySource::isTrusted). The open directory cannot be renamed or replaced,
/// unless another handle with DELETE access was open already. At its end the directory is compared with the one that
/// the system finds at the path.
///
/// A volume's root is opened only at the end of a mount point, and only when the volume is mounted nowhere else.
/// @param path    absolute, with or without the prefix \\?\ .
/// @param opened  set on success
/// @return a Win32 code. One of isMissing: a missing directory. ERROR_DIRECTORY: a file. untrustedLink: an untrusted
///         link. leadsElsewhere: an opened object lies in another directory. isVolumeRoot, cannotBeFollowed,
///         leadsDifferently.
DWORD openCleanedDirectory(IDirectorySource& source, const std::wstring& path, WalkedDirectory& opened);
