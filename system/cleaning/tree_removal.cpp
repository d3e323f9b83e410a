#include "system/cleaning/tree_removal.h"

#include "system/cleaning/win32_codes.h"

namespace {

DWORD successIfMissing(DWORD code) noexcept
{
    return isMissing(code) ? ERROR_SUCCESS : code;
}

} // namespace

DWORD TreeRemoval::openEntry(IDirectorySource::Handle parent, std::wstring_view parentLocation,
    std::wstring_view name, const Opening& opening, OpenObject& opened)
{
    DWORD code = source_.open(parent, name, opening, opened.receive());
    // If the parent became a link after it was opened, this object lies elsewhere.
    std::wstring location;
    if (code == ERROR_SUCCESS)
        code = source_.locationOf(opened.get(), location);
    if (code == ERROR_SUCCESS && !liesAt(parentLocation, name, location))
        code = leadsElsewhere;
    return code;
}

DWORD TreeRemoval::removeObject(IDirectorySource::Handle object, std::uint64_t bytes)
{
    const DWORD code = bounded_.remove(object);
    if (code == ERROR_SUCCESS) {
        ++removed_.entries;
        removed_.bytes += bytes;
    }
    return code;
}

DWORD TreeRemoval::removeEntryAt(
    IDirectorySource::Handle parent, std::wstring_view parentLocation, std::wstring_view name, std::uint64_t bytes)
{
    return retries_.repeat([&] {
        using Type = Opening::Type;
        OpenObject object(source_);
        DWORD code = openEntry(parent, parentLocation, name, {.type = Type::file, .remove = true}, object);
        if (code == unexpectedDirectory) {
            ObjectKind kind{};
            code = openEntry(
                parent, parentLocation, name, {.type = Type::directory, .remove = true, .pinned = true}, object);
            if (code == ERROR_SUCCESS)
                code = source_.kindOf(object.get(), kind);
            if (code == ERROR_SUCCESS && kind != ObjectKind::link)
                code = unexpectedDirectory; // a directory, or replaced by one since it was listed
        }
        return successIfMissing(code == ERROR_SUCCESS ? removeObject(object.get(), bytes) : code);
    });
}

DWORD TreeRemoval::note(std::wstring_view name, DWORD code)
{
    if (code != ERROR_SUCCESS && failedPath_.empty()) {
        for (const Level& level : levels_)
            failedPath_ += level.name + L'\\';
        failedPath_ += name;
    }
    return code;
}

DWORD TreeRemoval::removeEntry(const DirectoryAt& parent, std::wstring_view name, std::uint64_t bytes)
{
    const DWORD code = removeEntryAt(parent.object.get(), parent.location, name, bytes);
    failedPath_ = name;
    return code;
}

DWORD TreeRemoval::removeTree(const DirectoryAt& parent, std::wstring_view name)
{
    levels_.clear();
    failedPath_.clear();
    location_ = parent.location;
    DWORD code = enter(parent.object.get(), std::wstring(name));
    while (code == ERROR_SUCCESS && !levels_.empty()) {
        Level& level = levels_.back();
        if (level.next < level.directories.size())
            code = enter(level.object.get(), std::wstring(std::move(level.directories[level.next++])));
        else
            code = leave(levels_.size() > 1 ? levels_[levels_.size() - 2].object.get() : parent.object.get());
    }
    while (!levels_.empty()) // innermost first: a directory with an open object in it cannot be renamed
        levels_.pop_back();
    return code;
}

DWORD TreeRemoval::enter(IDirectorySource::Handle parent, const std::wstring& name)
{
    Level level{OpenObject(source_), name, true, {}};
    Opening opening{.type = Opening::Type::directory, .list = true, .remove = true, .pinned = true};
    DWORD code = retries_.repeat([&] { return openEntry(parent, location_, name, opening, level.object); });
    if (code == ERROR_SHARING_VIOLATION || code == ERROR_ACCESS_DENIED) {
        // The directory is open elsewhere or may not be removed; its content may be removable.
        opening.remove = opening.pinned = level.removable = false;
        code = openEntry(parent, location_, name, opening, level.object);
    }
    ObjectKind kind{};
    if (code == ERROR_SUCCESS)
        code = source_.kindOf(level.object.get(), kind);
    if (code == ERROR_DIRECTORY || (code == ERROR_SUCCESS && kind != ObjectKind::directory)) {
        level.object.close();
        return note(name, removeEntryAt(parent, location_, name, 0));
    }
    if (code != ERROR_SUCCESS)
        return note(name, successIfMissing(code));
    location_ += L'\\';
    location_ += name;
    levels_.push_back(std::move(level));
    return removeFilesOf(levels_.back());
}

DWORD TreeRemoval::listEntries(Level& level, std::deque<File>& files)
{
    std::vector<ListedEntry> entries;
    DWORD code = source_.list(level.object.get(), true, entries);
    for (; code == ERROR_SUCCESS; code = source_.list(level.object.get(), false, entries)) {
        for (auto& [entry, bytes] : entries) {
            if (!entry.isRealDirectory())
                files.push_back({std::move(entry.name), bytes});
            else if (!entry.isDots())
                level.directories.push_back(std::move(entry.name));
        }
    }
    return code == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : code;
}

DWORD TreeRemoval::removeFilesOf(Level& level)
{
    // Listed to its end before the first removal: others may add entries as fast as they are removed here.
    std::deque<File> files;
    if (const DWORD code = listEntries(level, files))
        return note(L"", successIfMissing(code));
    for (; !files.empty(); files.pop_front()) {
        const File& file = files.front();
        if (const DWORD code = removeEntryAt(level.object.get(), location_, file.name, file.bytes))
            return note(file.name, code);
    }
    return ERROR_SUCCESS;
}

DWORD TreeRemoval::leave(IDirectorySource::Handle parent)
{
    Level level = std::move(levels_.back());
    levels_.pop_back();
    location_.resize(location_.size() - level.name.size() - 1);
    const DWORD code = retries_.repeat([&] {
        DWORD attempt = ERROR_SUCCESS;
        if (!level.removable) {
            const Opening opening{.type = Opening::Type::directory, .remove = true, .pinned = true};
            attempt = openEntry(parent, location_, level.name, opening, level.object);
        }
        return successIfMissing(attempt == ERROR_SUCCESS ? removeObject(level.object.get(), 0) : attempt);
    });
    return note(level.name, code);
}
