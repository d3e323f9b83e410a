#pragma once

#include <windows.h>

/// Reaches the file system and decides: whether an open link (with READ_CONTROL) is owned by SYSTEM, Administrators
/// or TrustedInstaller, and its access list lets no other account change it. False when this cannot be read.
bool isLinkTrusted(HANDLE link) noexcept;
