#pragma once

#include "runtime/identity.h"

/// Lets a user's processes run on the window station "winsta0" and its desktop "default": the least rights
/// that a windowless program needs, and only where the user does not have them.
/// @throws vosexception "Unable to get a winstation (...) security", "Unable to set a winstation (...) security",
///         "Unable to open desktop"
void grantDesktopAccess(const identity::Sid& user);
