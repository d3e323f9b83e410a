#include "system/cleaning/directory_listing.h"

#include "logging/log_manager.h"
#include "runtime/failure/vosexception.h"
#include "system/cleaning/kept_directory.h"
#include "system/cleaning/win32_codes.h"

DirectoryEntries listDirectory(const std::wstring& path, ListingKind kind)
{
    DirectoryEntries directories, files;
    const DirectoryAt* directory = nullptr;
    DWORD code = cleaning::openDirectory(path, directory);
    if (code == untrustedLink || code == ERROR_CURRENT_DIRECTORY) {
        LogManager::log(LogLevel::Warning, L"The directory '%s' is left alone: it %s", path.c_str(),
            code == untrustedLink ? L"is, or lies behind, a link that others than the administrators may change"
                                  : L"holds the system, or this program");
        return files;
    }
    std::vector<DirectoryEntry> piece;
    for (bool first = true; code == ERROR_SUCCESS; first = false) {
        code = cleaning::source().list(directory->object.get(), first, piece);
        for (DirectoryEntry& entry : piece)
            (entry.isDirectory() ? directories : files).push_back(std::move(entry));
    }
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
