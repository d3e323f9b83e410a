#pragma once

#include "system/cleaning/bounded_removal.h"
#include "system/cleaning/open_object.h"
#include "system/cleaning/retry_budget.h"

#include <cstdint>
#include <deque>

/// Decides, on a given source: removes entries of directories. It checks an open object and removes it by the same
/// handle. Other processes may change the tree meanwhile: only objects are removed that lie in the given directory
/// when they are checked.
class TreeRemoval
{
public:
    /// None of them is owned; all must outlive the object.
    TreeRemoval(IDirectorySource& source, BoundedRemoval& bounded, RetryBudget& retries) noexcept
        : source_(source), bounded_(bounded), retries_(retries)
    {
    }

    /// Removes a file or a link.
    /// @param bytes  that it takes on the volume
    /// @return a Win32 code: ERROR_SUCCESS also for a missing entry, unexpectedDirectory for a directory
    DWORD removeEntry(const DirectoryAt& parent, std::wstring_view name, std::uint64_t bytes);

    /// Removes a directory with its content: files, then subdirectories, then itself. Links in it are removed, not
    /// followed. A link or a file of this name is removed too. Stops at the first entry that cannot be removed.
    /// @return a Win32 code; ERROR_SUCCESS also for a missing entry
    DWORD removeTree(const DirectoryAt& parent, std::wstring_view name);

    /// The path, relative to the parent, of the entry that the last call could not remove. Valid after a failure.
    const std::wstring& failedPath() const noexcept { return failedPath_; }

    /// Files, links and directories that were removed so far, and the bytes that the files took on the volume.
    struct Removed
    {
        std::uint64_t entries = 0, bytes = 0;
    };
    const Removed& removed() const noexcept { return removed_; }

private:
    struct File
    {
        std::wstring name;
        std::uint64_t bytes;
    };
    /// An open directory between the parent and the entry that is being removed.
    struct Level
    {
        OpenObject object;
        std::wstring name;
        bool removable; // opened with DELETE
        std::vector<std::wstring> directories;
        std::size_t next = 0;
    };

    DWORD openEntry(IDirectorySource::Handle parent, std::wstring_view parentLocation, std::wstring_view name,
        const Opening& opening, OpenObject& opened);
    DWORD removeEntryAt(IDirectorySource::Handle parent, std::wstring_view parentLocation, std::wstring_view name,
        std::uint64_t bytes);
    DWORD removeObject(IDirectorySource::Handle object, std::uint64_t bytes);
    DWORD enter(IDirectorySource::Handle parent, const std::wstring& name);
    DWORD listEntries(Level& level, std::deque<File>& files);
    DWORD removeFilesOf(Level& level);
    DWORD leave(IDirectorySource::Handle parent);
    DWORD note(std::wstring_view name, DWORD code);

    IDirectorySource& source_;
    BoundedRemoval& bounded_;
    RetryBudget& retries_;
    Removed removed_;
    std::vector<Level> levels_; // not recursion: a deep tree would overflow the stack
    std::wstring location_;     // of the innermost level
    std::wstring failedPath_;
};
