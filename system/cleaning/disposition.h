#pragma once

#include <windows.h>

/// Reaches the file system: removes an open file, link or empty directory (opened with DELETE), also a read-only one.
/// With POSIX semantics its name is free at once, even while other handles are open. On file systems without them the
/// name is free when the last handle closes. Other hard links of the file keep its attributes.
/// @return a Win32 code
DWORD removeObject(HANDLE object);
