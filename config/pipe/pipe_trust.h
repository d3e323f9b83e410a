#pragma once

#include <windows.h>

/// Whether the server of a connected pipe may tell an administrator where programs lie: the user of the server's
/// process is SYSTEM, an administrator or the caller itself, and the pipe's owner, where the system says who that
/// is, is that user, SYSTEM, the group of administrators or the caller itself. Where the process cannot be asked,
/// a caller who is an administrator trusts nobody; for any other caller the owner decides. Any local user can
/// create a pipe of a known name before its service does. Never throws.
bool isPipeServerTrusted(HANDLE pipe) noexcept;
