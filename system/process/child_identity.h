#pragma once

#include "runtime/handle/handles.h"

/// Under whom a child process runs: a thread that acts as somebody else starts it as that one, when just one
/// of the two, thread and process, is an administrator.
/// @return a primary token for the child; empty: the process's own identity
/// @throws vosexception "Unable to open a thread token", "Unable to open a process token",
///         "Unable to duplicate impersonation token"
UniqueHandle chooseChildIdentity();
