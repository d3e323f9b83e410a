#include "system/cleaning/cleaning_run.h"

#include "logging/log_manager.h"
#include "runtime/failure/vosexception.h"
#include "runtime/text/letter_case.h"
#include "system/cleaning/directory_walk.h"
#include "system/cleaning/win32_codes.h"

namespace {

/// Why a directory is left alone as a whole, with a Warning; null for other codes.
const wchar_t* refusal(DWORD code) noexcept
{
    switch (code) {
    case untrustedLink:
        return L"it is, or lies behind, a link that others than the administrators may change";
    case holdsNeeded:
        return L"it holds a directory that the system, the panel or this program needs";
    case liesInNeeded:
        return L"it lies in a directory whose content the system or the panel needs";
    case isVolumeRoot:
        return L"it is the root of a volume";
    case cannotBeFollowed:
        return L"a link in its path leads nowhere";
    case leadsDifferently:
        return L"the links in its path are ambiguous";
    case hasNoIdentity:
        return L"its file system does not tell whether the system needs it";
    default:
        return nullptr;
    }
}

/// Directories of the system in the root of each volume.
bool isOfVolume(const DirectoryEntry& entry)
{
    return equalIgnoringCase(entry.name, L"System Volume Information") ||
           equalIgnoringCase(entry.name, L"$RECYCLE.BIN");
}

} // namespace

DWORD CleaningRun::open(const std::wstring& path)
{
    listed_.reset();
    if (!neededDirectories_) {
        auto all = std::make_unique<NeededDirectories>(source_);
        for (const NeededDirectories::Needed& needed : needed_()) {
            if (const DWORD code = all->add(needed))
                return code;
        }
        neededDirectories_ = std::move(all);
    }
    WalkedDirectory found{{OpenObject(source_), {}}, {}};
    DWORD code = openCleanedDirectory(source_, path, found);
    if (code == ERROR_SUCCESS)
        code = neededDirectories_->refuse(found);
    if (code == ERROR_SUCCESS)
        listed_ = std::make_unique<Listed>(Listed{path, std::move(found), {}});
    return code;
}

DWORD CleaningRun::read(DirectoryEntries& directories, DirectoryEntries& files)
{
    std::vector<ListedEntry> piece;
    DWORD code = ERROR_SUCCESS;
    for (bool first = true; code == ERROR_SUCCESS; first = false) {
        code = source_.list(listed_->directory.at.object.get(), first, piece);
        for (auto& [entry, bytes] : piece) {
            if (listed_->directory.isRoot && isOfVolume(entry))
                continue;
            if (!entry.isDirectory())
                listed_->sizes.add(entry.name, bytes);
            (entry.isDirectory() ? directories : files).push_back(std::move(entry));
        }
    }
    return code;
}

DirectoryEntries CleaningRun::list(const std::wstring& path, ListingKind kind)
{
    DirectoryEntries directories, files(directories.get_allocator());
    tally_.begin(path);
    DWORD code = open(path);
    if (const wchar_t* const reason = refusal(code)) {
        LogManager::logForAdministrators(L"The directory '%s' is left alone: %s", path.c_str(), reason);
        return {};
    }
    if (code == ERROR_SUCCESS)
        code = read(directories, files);
    // The trail's name is part of the interface with the panel's log readers; do not correct.
    if (code != ERROR_NO_MORE_FILES && !isMissing(code))
        throwOsError(code, L"Unable to read directory (" + path + L")", {"RunTime::File::findFirstFile"});

    switch (kind) {
    case ListingKind::directories:
        return directories;
    case ListingKind::files:
        return files;
    case ListingKind::directoriesThenFiles:
        directories.splice(directories.end(), files);
        return directories;
    default:
        return {};
    }
}

bool CleaningRun::isLeftAlone(const std::wstring& path)
{
    constexpr int mostCancelled = 2;
    if (listed_->cancelled < mostCancelled)
        return false;
    if (listed_->cancelled++ == mostCancelled) {
        LogManager::logForAdministrators(
            L"The rest of the directory '%s' is left alone: another process keeps removals waiting",
            listed_->path.c_str());
    }
    tally_.countKept(path, ERROR_SHARING_VIOLATION);
    return true;
}

void CleaningRun::remove(const std::wstring& path, What what)
{
    const std::size_t separator = path.rfind(L'\\');
    std::wstring failed = path;
    DWORD code = separator == std::wstring::npos ? DWORD{ERROR_BAD_PATHNAME} : DWORD{ERROR_SUCCESS};
    if (code == ERROR_SUCCESS && (!listed_ || path.compare(0, separator, listed_->path) != 0))
        code = open(path.substr(0, separator));
    if (code == ERROR_SUCCESS) {
        if (isLeftAlone(path))
            return;
        const std::wstring_view name = std::wstring_view(path).substr(separator + 1);
        const DirectoryAt& parent = listed_->directory.at;
        TreeRemoval removal(source_, bounded_, retries_);
        code = what == What::tree ? removal.removeTree(parent, name)
                                  : removal.removeEntry(parent, name, listed_->sizes.take(name));
        tally_.countRemoved(removal.removed().entries, removal.removed().bytes);
        failed = path.substr(0, separator + 1) + removal.failedPath();
        if (code == ERROR_OPERATION_ABORTED) {
            ++listed_->cancelled;
            code = ERROR_SHARING_VIOLATION; // what it means to the reader of the log
        }
    }
    if (code == ERROR_SUCCESS || isMissing(code))
        return;
    tally_.countKept(failed, code);
    if (const wchar_t* const reason = refusal(code))
        failed.append(L": ").append(reason);
    // The trail's name is part of the interface with the panel's log readers; do not correct.
    throwOsError(code, L"Unable to remove path (" + failed + L")", {"RunTime::File::remove"});
}

void CleaningRun::removeFile(const std::wstring& path)
{
    remove(path, What::entry);
}

void CleaningRun::removeDirectory(const std::wstring& path)
{
    remove(path, What::tree);
}

void CleaningRun::finish()
{
    listed_.reset();
    tally_.finish();
}
