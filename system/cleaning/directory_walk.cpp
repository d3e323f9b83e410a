#include "system/cleaning/directory_walk.h"

#include "runtime/path.h"

#include <algorithm>

namespace {

constexpr std::wstring_view literalPrefix = L"\\\\?\\";

/// The path in the form that the system takes literally.
std::wstring literal(const std::wstring& path)
{
    if (path.starts_with(literalPrefix))
        return path;
    return std::wstring(literalPrefix) + (path.starts_with(L"\\\\") ? L"UNC" + path.substr(1) : path);
}

/// Length of the root, its backslash included, of a literal path; npos when there is only a root or less.
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

/// One step of a path: the object of a name in a directory, as itself.
DWORD openStep(IDirectorySource& source, const DirectoryAt& directory, std::wstring_view name, bool isLast,
    DirectoryAt& step, ObjectKind& kind)
{
    Opening opening{.list = isLast, .pinned = isLast, .anyCase = true};
    DWORD code = source.open(directory.object.get(), name, opening, step.object.receive());
    if (code == ERROR_SHARING_VIOLATION && isLast) {
        // Somebody may rename it. What is removed is still checked to lie where this directory lay.
        opening.pinned = false;
        code = source.open(directory.object.get(), name, opening, step.object.receive());
    }
    if (code == ERROR_SUCCESS)
        code = source.kindOf(step.object.get(), kind);
    if (code == ERROR_SUCCESS && kind == ObjectKind::link) {
        // Asked for only here: directories on the way may deny it, and need not be asked.
        opening.security = true;
        code = source.open(directory.object.get(), name, opening, step.object.receive());
        if (code == ERROR_SUCCESS)
            code = source.kindOf(step.object.get(), kind);
        if (code == ERROR_SUCCESS && kind != ObjectKind::link)
            code = leadsElsewhere; // replaced just now
    }
    if (code == ERROR_SUCCESS)
        code = source.locationOf(step.object.get(), step.location);
    if (code != ERROR_SUCCESS)
        return code;
    // The last name may be spelt otherwise, but it must be one in this very directory.
    const std::size_t separator = step.location.rfind(L'\\');
    const std::wstring_view found = std::wstring_view(step.location).substr(separator + 1);
    return liesAt(directory.location, found, step.location) ? ERROR_SUCCESS : leadsElsewhere;
}

} // namespace

DWORD openCleanedDirectory(IDirectorySource& source, const std::wstring& path, DirectoryAt& opened)
{
    constexpr int mostLinks = 16;
    std::wstring whole = literal(path);
    for (int links = 0; links <= mostLinks; ++links) {
        std::size_t start = rootLength(whole);
        if (start == std::wstring::npos)
            return ERROR_BAD_PATHNAME;
        DirectoryAt directory{OpenObject(source), {}};
        DWORD code = source.openRoot(whole.substr(0, start), directory.object.receive());
        if (code == ERROR_BAD_NETPATH || code == ERROR_BAD_NET_NAME || code == ERROR_NOT_READY)
            code = ERROR_PATH_NOT_FOUND; // a server or a disk that is away
        if (code == ERROR_SUCCESS)
            code = source.locationOf(directory.object.get(), directory.location);
        bool isRoot = true;
        bool followed = false;
        while (code == ERROR_SUCCESS && !followed) {
            start = whole.find_first_not_of(L'\\', start);
            if (start == std::wstring::npos) {
                if (isRoot)
                    return ERROR_BAD_PATHNAME;
                opened = std::move(directory);
                return ERROR_SUCCESS;
            }
            const std::size_t end = std::min(whole.find(L'\\', start), whole.size());
            const bool isLast = whole.find_first_not_of(L'\\', end) == std::wstring::npos;
            DirectoryAt step{OpenObject(source), {}};
            ObjectKind kind{};
            code = openStep(source, directory, whole.substr(start, end - start), isLast, step, kind);
            if (code == ERROR_SUCCESS && kind == ObjectKind::file)
                code = ERROR_DIRECTORY;
            if (code != ERROR_SUCCESS)
                break;
            if (kind == ObjectKind::link) {
                std::wstring target;
                code =
                    source.isTrusted(step.object.get()) ? source.targetOf(step.object.get(), target) : untrustedLink;
                if (code == ERROR_SUCCESS) {
                    if (!path::isAbsolute(target))
                        target.insert(0, whole, 0, start);
                    target.append(L"\\").append(whole, end);
                    whole = literal(path::normalise(target));
                    followed = true;
                }
            } else {
                directory = std::move(step);
                isRoot = false;
                start = end;
            }
        }
        if (!followed)
            return code;
    }
    return ERROR_CANT_RESOLVE_FILENAME;
}
