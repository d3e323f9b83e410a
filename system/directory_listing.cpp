#include "system/directory_listing.h"

#include "runtime/handles.h"
#include "runtime/path.h"
#include "runtime/vosexception.h"

namespace {

struct SearchTraits
{
    using Type = HANDLE;
    static Type empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(Type search) noexcept { FindClose(search); }
};

bool isMissing(DWORD code)
{
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

DirectoryEntry entryOf(const WIN32_FIND_DATAW& found)
{
    const bool isReparsePoint = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return {found.cFileName, found.dwFileAttributes, isReparsePoint,
        isReparsePoint && IsReparseTagNameSurrogate(found.dwReserved0),
        (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow, found.ftCreationTime, found.ftLastAccessTime,
        found.ftLastWriteTime};
}

} // namespace

DirectoryEntries listDirectory(const std::wstring& path, ListingKind kind)
{
    const auto failed = [&](DWORD code) {
        throwOsError(code, L"Unable to read directory (" + path + L")", {"RunTime::File::findFirstFile"});
    };
    DirectoryEntries directories, files;
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES && isMissing(GetLastError()))
        return directories;

    WIN32_FIND_DATAW found;
    const Unique<SearchTraits> search(FindFirstFileW(path::combine(path, L"*.*").c_str(), &found));
    DWORD code = search ? ERROR_SUCCESS : GetLastError();
    while (code == ERROR_SUCCESS) {
        DirectoryEntry entry = entryOf(found);
        (entry.isDirectory() ? directories : files).push_back(std::move(entry));
        code = FindNextFileW(search.get(), &found) ? ERROR_SUCCESS : GetLastError();
    }
    if (code != ERROR_NO_MORE_FILES && !isMissing(code))
        failed(code);

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
