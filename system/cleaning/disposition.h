#pragma once

#include <windows.h>

/// Removes an open file, link or empty directory (opened with DELETE). Its name is free at once where the file system
/// knows how, though somebody may still have it open; else when the last handle is closed. A read-only object goes
/// too; what other names of the same file show of its attributes stays.
/// @return a Win32 code
DWORD removeObject(HANDLE object);
