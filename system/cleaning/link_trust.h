#pragma once

#include <windows.h>

/// Whether an open link (with READ_CONTROL) belongs to SYSTEM, Administrators or TrustedInstaller, and nobody else
/// may change where it leads. What cannot be told is not so.
bool isLinkTrusted(HANDLE link) noexcept;
