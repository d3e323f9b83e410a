#pragma once

#include <windows.h>

/// Whether the server of a connected pipe may tell an administrator where programs lie: the pipe's owner, or
/// where the system does not say, the user of the server's process, is SYSTEM, an administrator, or the
/// caller itself. Any local user can create a pipe of a known name before its service does. Never throws.
bool isPipeOfMachine(HANDLE pipe) noexcept;
