#pragma once

#include "runtime/handle/handles.h"

/// Chooses the identity of a child process: the impersonated user's, when exactly one of the two, thread token and
/// process token, holds the administrators group.
/// @return a primary token for the child; empty: the process's own identity
/// @throws vosexception "Unable to open a thread token", "Unable to open a process token",
///         "Unable to duplicate impersonation token"
UniqueHandle chooseChildIdentity();
