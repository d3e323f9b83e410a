#pragma once

#include <windows.h>

/// Whether the server of a connected pipe may tell an administrator where programs lie: the pipe's owner and, where
/// the system says who that is, the user of the server's process are each SYSTEM, an administrator, or the caller
/// itself. Any local user can create a pipe of a known name before its service does. Never throws.
bool isPipeOfMachine(HANDLE pipe) noexcept;
