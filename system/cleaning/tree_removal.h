#pragma once

#include "system/cleaning/open_object.h"
#include "system/cleaning/retry_budget.h"

/// Removes entries of directories: decides on an open object, and removes that very object. Whatever others do to
/// the tree meanwhile, nothing is removed that does not lie in the given directory at that moment.
class TreeRemoval
{
public:
    /// Both are used for the life of the object, not owned.
    TreeRemoval(IDirectorySource& source, RetryBudget& patience) noexcept : source_(source), retries_(patience) {}

    /// Removes a file or a link. A directory that is none is left alone: unexpectedDirectory.
    /// @return a Win32 code; an entry that is not there counts as removed
    DWORD removeEntry(const DirectoryAt& parent, std::wstring_view name);

    /// Removes a directory with everything in it: files, then subdirectories, then itself. Links in it, and a link
    /// or a file in its own place, are removed as such. Stops at the first entry that cannot be removed.
    /// @return a Win32 code; an entry that is not there counts as removed
    DWORD removeTree(const DirectoryAt& parent, std::wstring_view name);

    /// The path, relative to the last call's parent, of the entry that could not be removed; only after a failure.
    const std::wstring& failedPath() const noexcept { return failedPath_; }

private:
    /// One directory of the way down to where the removal is.
    struct Level
    {
        OpenObject object;
        std::wstring name;
        bool removable; // opened for that too
        std::vector<std::wstring> directories;
        std::size_t next = 0;
    };

    DWORD openEntry(IDirectorySource::Handle parent, std::wstring_view parentLocation, std::wstring_view name,
        const Opening& opening, OpenObject& opened);
    DWORD removeEntryAt(IDirectorySource::Handle parent, std::wstring_view parentLocation, std::wstring_view name);
    DWORD enter(IDirectorySource::Handle parent, const std::wstring& name);
    DWORD removeFilesOf(Level& level);
    DWORD leave(IDirectorySource::Handle parent);
    DWORD note(std::wstring_view name, DWORD code);

    IDirectorySource& source_;
    RetryBudget& retries_;
    std::vector<Level> levels_; // not the program's stack: trees may be as deep as they like
    std::wstring location_;     // of the innermost level
    std::wstring failedPath_;
};
