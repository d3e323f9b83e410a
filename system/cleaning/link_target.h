#pragma once

#include <windows.h>

#include <string>

/// Decides whether a reparse point of this tag is a link: a name surrogate (symbolic link, junction, mount point), or
/// a reparse point whose tag is unknown (0).
constexpr bool isLinkTag(DWORD tag) noexcept
{
    return tag == 0 || IsReparseTagNameSurrogate(tag);
}

/// Reaches the file system: the target of an open link, either an absolute path of the form "\\?\..." or one
/// relative to the link's directory.
/// @return a Win32 code; ERROR_REPARSE_TAG_INVALID for a link without a target path
DWORD linkTarget(HANDLE link, std::wstring& target);
