#include "system/cleaning/directory_walk.h"

#include "runtime/path.h"

#include <algorithm>

namespace {

constexpr DWORD linkFollowed = 741; // ERROR_REPARSE: walk the path with the link's target in it
constexpr std::wstring_view literalPrefix = L"\\\\?\\";

/// The path with the prefix \\?\, which the system takes literally.
std::wstring literal(const std::wstring& path)
{
    if (path.starts_with(literalPrefix))
        return path;
    return std::wstring(literalPrefix) + (path.starts_with(L"\\\\") ? L"UNC" + path.substr(1) : path);
}

/// Length of a literal path's root with its backslash; npos for a root without a backslash or less.
std::size_t rootLength(std::wstring_view path) noexcept
{
    std::size_t end = literalPrefix.size();
    const int names = path.substr(end).starts_with(L"UNC\\") ? 3 : 1;
    for (int name = 0; name < names; ++name) {
        end = path.find(L'\\', end);
        if (end == std::wstring_view::npos)
            return end;
        ++end;
    }
    return end;
}

/// Opens one name of a path in its directory, without following a link.
DWORD openStep(IDirectorySource& source, const DirectoryAt& directory, std::wstring_view name, bool isLast,
    DirectoryAt& step, ObjectKind& kind)
{
    Opening opening{.list = isLast, .pinned = isLast, .anyCase = true};
    DWORD code = source.open(directory.object.get(), name, opening, step.object.receive());
    if (code == ERROR_SHARING_VIOLATION && isLast) {
        // Another handle may rename the directory. Removal still checks that each object lies at this location.
        opening.pinned = false;
        code = source.open(directory.object.get(), name, opening, step.object.receive());
    }
    if (code == ERROR_SUCCESS)
        code = source.kindOf(step.object.get(), kind);
    if (code == ERROR_SUCCESS && kind == ObjectKind::link) {
        // Only links need READ_CONTROL; other directories of the path may deny it.
        opening.security = true;
        code = source.open(directory.object.get(), name, opening, step.object.receive());
        if (code == ERROR_SUCCESS)
            code = source.kindOf(step.object.get(), kind);
        if (code == ERROR_SUCCESS && kind != ObjectKind::link)
            code = leadsElsewhere; // replaced since the first open
    }
    if (code == ERROR_SUCCESS)
        code = source.locationOf(step.object.get(), step.location);
    if (code != ERROR_SUCCESS)
        return code;
    // The name found may differ in spelling, such as letter case. Its directory must be the given one.
    const std::size_t separator = step.location.rfind(L'\\');
    const std::wstring_view found = std::wstring_view(step.location).substr(separator + 1);
    return liesAt(directory.location, found, step.location) ? ERROR_SUCCESS : leadsElsewhere;
}

/// Replaces a trusted link in the path by its target.
/// @param start, end  of the link's name in the path
/// @return untrustedLink for an untrusted link
DWORD follow(
    IDirectorySource& source, IDirectorySource::Handle link, std::wstring& path, std::size_t start, std::size_t end)
{
    if (!source.isTrusted(link))
        return untrustedLink;
    std::wstring target;
    if (const DWORD code = source.targetOf(link, target))
        return code;
    if (!path::isAbsolute(target)) // a rooted target begins at the volume's root, another one in the link's directory
        target.insert(0, path, 0, target.starts_with(L'\\') ? rootLength(path) : start);
    target.append(L"\\").append(path, end);
    path = literal(path::normalise(target));
    return ERROR_SUCCESS;
}

/// Opens the root of the path's volume. A server or a drive that is not there counts as missing.
DWORD openRoot(IDirectorySource& source, const std::wstring& root, DirectoryAt& opened)
{
    const DWORD code = source.openRoot(root, opened.object.receive());
    if (code == ERROR_BAD_NETPATH || code == ERROR_BAD_NET_NAME || code == ERROR_NOT_READY)
        return ERROR_PATH_NOT_FOUND;
    return code == ERROR_SUCCESS ? source.locationOf(opened.object.get(), opened.location) : code;
}

/// Opens the path name by name, up to its end or to the first link.
/// @param path    literal; a trusted link in it is replaced by its target
/// @param opened  the directory at the end, set on success
/// @return linkFollowed when a link was replaced
DWORD walk(IDirectorySource& source, std::wstring& path, DirectoryAt& opened)
{
    std::size_t start = rootLength(path);
    if (start == std::wstring::npos)
        return ERROR_BAD_PATHNAME;
    DirectoryAt directory{OpenObject(source), {}};
    if (const DWORD code = openRoot(source, path.substr(0, start), directory))
        return code;
    start = path.find_first_not_of(L'\\', start);
    if (start == std::wstring::npos)
        return ERROR_BAD_PATHNAME; // a volume's root is never cleaned
    while (start != std::wstring::npos) {
        const std::size_t end = std::min(path.find(L'\\', start), path.size());
        const std::size_t next = path.find_first_not_of(L'\\', end);
        DirectoryAt step{OpenObject(source), {}};
        ObjectKind kind{};
        const std::wstring name = path.substr(start, end - start);
        const bool isLast = next == std::wstring::npos;
        if (const DWORD code = openStep(source, directory, name, isLast, step, kind))
            return code == ERROR_INVALID_NAME ? DWORD{ERROR_PATH_NOT_FOUND} : code; // no object can have that name
        switch (kind) {
        case ObjectKind::file:
            return isLast ? ERROR_DIRECTORY : ERROR_PATH_NOT_FOUND;
        case ObjectKind::link: {
            const DWORD code = follow(source, step.object.get(), path, start, end);
            return code == ERROR_SUCCESS ? linkFollowed : code;
        }
        case ObjectKind::directory:
            directory = std::move(step);
            start = next;
        }
    }
    opened = std::move(directory);
    return ERROR_SUCCESS;
}

} // namespace

DWORD openCleanedDirectory(IDirectorySource& source, const std::wstring& path, DirectoryAt& opened)
{
    constexpr int mostLinks = 16;
    std::wstring whole = literal(path);
    for (int links = 0; links <= mostLinks; ++links) {
        const DWORD code = walk(source, whole, opened);
        if (code != linkFollowed)
            return code;
    }
    return ERROR_CANT_RESOLVE_FILENAME;
}
