#pragma once

#include "system/cleaning/open_object.h"

#include <span>
#include <string>
#include <vector>

/// Decides, on a given source, whether a directory may be emptied: not when the machine needs it, or what lies around
/// it. Directories are compared by their identity, so links, short names, substituted drives and shares of this
/// machine do not matter.
class NeededDirectories
{
public:
    struct Needed
    {
        std::wstring path;
        bool isWhole = false; // its content is needed too; else only the directory itself and what it lies in
        /// Exceptions from its content: static paths within it, "\\Temp". "*" stands for any one name.
        // NOLINTNEXTLINE(readability-redundant-member-init): GCC wants it where the member is left out
        std::span<const wchar_t* const> exceptions = {};
    };

    /// @param source  weak
    explicit NeededDirectories(IDirectorySource& source) noexcept : source_(source) {}

    /// Adds a directory; a missing one is ignored. Its identity and that of the directories above it are read once.
    /// @return a Win32 code
    DWORD add(const Needed& needed);

    /// @return ERROR_SUCCESS when it may be emptied, else holdsNeeded, liesInNeeded or hasNoIdentity
    DWORD refuse(const WalkedDirectory& directory) const;

private:
    struct Whole
    {
        FileId id;
        std::span<const wchar_t* const> exceptions;
    };

    IDirectorySource& source_;
    std::vector<FileId> kept_; // the directories and those that they lie in
    std::vector<Whole> whole_;
};
