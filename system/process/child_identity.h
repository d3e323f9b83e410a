#pragma once

#include "runtime/handle/handles.h"

/// Decides the user of a child process. An impersonating thread starts the child as the impersonated user if exactly
/// one of the two tokens, of the thread and of the process, is an administrator's.
/// @return a primary token for the child; empty: the child gets the token of the process
/// @throws vosexception "Unable to open a thread token", "Unable to open a process token",
///         "Unable to duplicate impersonation token"
UniqueHandle chooseChildIdentity();
