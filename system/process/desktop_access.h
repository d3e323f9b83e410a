#pragma once

#include "runtime/identity.h"

/// Grants a user access to the window station "winsta0" and its desktop "default", unless the user has it: the least
/// rights that a program without windows needs. Acts under the process's own identity; the thread must be
/// impersonating.
/// @throws vosexception "Unable to get a winstation (...) security", "Unable to set a winstation (...) security",
///         "Unable to open desktop"; as OwnIdentity
void grantDesktopAccess(const identity::Sid& user);
