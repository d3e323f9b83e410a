#pragma once

#include "runtime/identity.h"

/// Lets a user's processes run on the window station "winsta0" and its desktop "default". Grants only the rights that
/// a program without windows needs, and only where an entry of the user does not grant them yet.
/// @throws vosexception "Unable to get a winstation (...) security", "Unable to set a winstation (...) security",
///         "Unable to open desktop"
void grantDesktopAccess(const identity::Sid& user);
