#pragma once

#include "system/cleaning/cleaning_tally.h"
#include "system/cleaning/needed_directories.h"
#include "system/cleaning/told_sizes.h"
#include "system/cleaning/tree_removal.h"

#include <memory>
#include <string>

/// Decides, on a given source: empties directories for a caller that lists a directory and then removes its entries
/// one by one. The listed directory stays open until the next one is listed, so that the entries are removed from the
/// same directory. All removals of the run together wait at most two seconds for objects that other processes have
/// open. Not safe for several threads.
class CleaningRun
{
public:
    /// What the machine needs, asked for at the first listing.
    using Needed = std::vector<NeededDirectories::Needed> (*)();

    /// @param source          weak: must outlive the object
    /// @param longestRemoval  milliseconds, of one call
    CleaningRun(
        IDirectorySource& source, Needed needed, DWORD longestRemoval = BoundedRemoval::longestRemoval) noexcept
        : source_(source), needed_(needed), bounded_(source, longestRemoval)
    {
    }

    /// Opens the directory anew (openCleanedDirectory) and reads all entries, "." and ".." included. Directories and
    /// files each keep the order of the file system.
    /// @param path  absolute
    /// @return empty for a missing directory. Empty, with a Warning for the administrators, for one that must not be
    ///         emptied or cannot be followed to its end.
    /// @throws vosexception "Unable to read directory (<path>)"
    DirectoryEntries list(const std::wstring& path, ListingKind kind);

    /// Removes a file or a link; the target of a link stays. An untrusted link in the path is not followed. A missing
    /// entry counts as removed. After two cancelled removals in a directory (BoundedRemoval) its other entries are
    /// left alone with one Warning and without an exception.
    /// @param path  absolute; the name after the last backslash is taken literally
    /// @throws vosexception "Unable to remove path (<path of the entry that could not be removed>)"
    void removeFile(const std::wstring& path);

    /// Removes a directory with its content, otherwise as removeFile. Links in it are removed, not followed.
    /// @throws vosexception as removeFile, at the first entry that cannot be removed
    void removeDirectory(const std::wstring& path);

    /// Logs what became of the listed directories (CleaningTally) and closes the last one.
    void finish();

private:
    enum class What
    {
        entry,
        tree
    };
    struct Listed
    {
        std::wstring path;
        WalkedDirectory directory;
        ToldSizes sizes;
        int cancelled = 0; // removals
    };

    DWORD open(const std::wstring& path);
    DWORD read(DirectoryEntries& directories, DirectoryEntries& files);
    void remove(const std::wstring& path, What what);
    bool isLeftAlone(const std::wstring& path);

    IDirectorySource& source_;
    const Needed needed_;
    std::unique_ptr<NeededDirectories> neededDirectories_;
    BoundedRemoval bounded_;
    RetryBudget retries_{2000};
    CleaningTally tally_;
    std::unique_ptr<Listed> listed_;
};
