#pragma once

#include <windows.h>

/// Whether the server of a connected pipe is trusted. The server names the directories of the programs that the
/// caller runs, and any local user can create a pipe of a known name before its service does.
///
/// The server's process must run as SYSTEM, as an administrator or as the caller's user. The pipe's owner, if the
/// system reports one, must be the user of that process, SYSTEM, Administrators or the caller's user.
/// If the process cannot be queried, a caller who is an administrator does not trust the server. Other callers trust
/// it if the owner is SYSTEM, Administrators or their own user.
bool isPipeServerTrusted(HANDLE pipe) noexcept;
