#pragma once

#include <windows.h>

#include <string>

/// Whether a reparse point of this tag stands for another name (a symbolic link, a junction, a mount point), or
/// cannot be told from one.
constexpr bool isLinkTag(DWORD tag) noexcept
{
    return tag == 0 || IsReparseTagNameSurrogate(tag);
}

/// Where an open link leads: an absolute path of the form "\\?\...", or one relative to the link's directory.
/// @return a Win32 code; ERROR_REPARSE_TAG_INVALID for a link of a kind that has no path
DWORD linkTarget(HANDLE link, std::wstring& target);
