#pragma once

#include <windows.h>

/// Reaches the file system and decides: whether an open directory is, or contains, the system directory or the
/// directory of this program. It compares locations, so links and other spellings of a path do not matter. The
/// cleaning table has refused roots of volumes and the installation directory by their paths before.
/// @return ERROR_SUCCESS when it contains neither; ERROR_CURRENT_DIRECTORY when it does; another Win32 code when a
///         location cannot be read
DWORD refuseNeeded(HANDLE directory);
