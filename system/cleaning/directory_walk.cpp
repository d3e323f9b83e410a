#include "system/cleaning/directory_walk.h"

#include "runtime/failure/vexception.h"
#include "runtime/path.h"
#include "runtime/text/letter_case.h"

#include <algorithm>
#include <vector>

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

/// Whether a target is the root of a volume that a mount point names: "\\?\Volume{...}\".
bool isVolumeName(std::wstring_view target) noexcept
{
    return target.starts_with(L"\\\\?\\Volume{") && target.find(L'\\', literalPrefix.size()) == target.size() - 1;
}

/// Replaces a trusted link in the path by its target.
/// @param start, end  of the link's name in the path
/// @param mountPoint  set to the link's path when it is the end of the path and names a volume; else emptied
/// @return untrustedLink for an untrusted link, cannotBeFollowed for one without a path
DWORD follow(IDirectorySource& source, IDirectorySource::Handle link, std::wstring& path, std::size_t start,
    std::size_t end, std::wstring& mountPoint)
{
    if (!source.isTrusted(link))
        return untrustedLink;
    std::wstring target;
    if (source.targetOf(link, target) != ERROR_SUCCESS)
        return cannotBeFollowed;
    const bool isLast = path.find_first_not_of(L'\\', end) == std::wstring::npos;
    mountPoint = isLast && isVolumeName(target) ? path.substr(0, end) : std::wstring();
    if (!path::isAbsolute(target)) // a rooted target begins at the volume's root, another one in the link's directory
        target.insert(0, path, 0, target.starts_with(L'\\') ? rootLength(path) : start);
    target.append(L"\\").append(path, end);
    try {
        path = literal(path::normalise(target));
    } catch (const vexception&) { // no path at all
        return cannotBeFollowed;
    }
    return ERROR_SUCCESS;
}

/// Whether the volume is mounted at this directory and nowhere else, also without a drive letter.
bool isMountedOnlyAt(IDirectorySource& source, const std::wstring& volume, const std::wstring& mountPoint)
{
    std::vector<std::wstring> mounts;
    return !mountPoint.empty() && source.mountsOf(volume, mounts) == ERROR_SUCCESS && mounts.size() == 1 &&
           equalIgnoringCase(literal(mounts.front()), mountPoint + L'\\');
}

/// Opens the root of a volume.
/// @param isCleaned  whether the root itself is to be listed
DWORD openRoot(IDirectorySource& source, const std::wstring& root, bool isCleaned, DirectoryAt& opened)
{
    DWORD code = missingIfUnreachable(source.openRoot(root, isCleaned, opened.object.receive()));
    if (code == ERROR_SUCCESS)
        code = source.locationOf(opened.object.get(), opened.location);
    if (opened.location.ends_with(L'\\')) // entries add it
        opened.location.pop_back();
    return code;
}

/// Where a walk is: the path that is left, with all links followed so far replaced by their targets.
struct Way
{
    std::wstring path;       // literal
    std::wstring mountPoint; // the link that led to the path, when it is a mount point of a volume
};

void addStep(IDirectorySource& source, WalkedDirectory& walked, const std::wstring& name)
{
    WalkedDirectory::Step& step = walked.steps.emplace_back(WalkedDirectory::Step{name, {}, false});
    step.hasId = source.idOf(walked.at.object.get(), step.id) == ERROR_SUCCESS;
}

/// Opens the path name by name, up to its end or to the first link.
/// @param opened  the directory at the end, set on success
/// @return linkFollowed when a trusted link was replaced by its target
DWORD walk(IDirectorySource& source, Way& way, WalkedDirectory& opened)
{
    const std::wstring& path = way.path;
    std::size_t start = rootLength(path);
    if (start == std::wstring::npos)
        return ERROR_BAD_PATHNAME;
    WalkedDirectory walked{{OpenObject(source), {}}, {}, false};
    const std::wstring root = path.substr(0, start);
    start = path.find_first_not_of(L'\\', start);
    walked.isRoot = start == std::wstring::npos;
    if (walked.isRoot && !isMountedOnlyAt(source, root, way.mountPoint))
        return isVolumeRoot;
    if (const DWORD code = openRoot(source, root, walked.isRoot, walked.at))
        return code;
    addStep(source, walked, {});
    while (start != std::wstring::npos) {
        const std::size_t end = std::min(path.find(L'\\', start), path.size());
        const std::size_t next = path.find_first_not_of(L'\\', end);
        DirectoryAt step{OpenObject(source), {}};
        ObjectKind kind{};
        const std::wstring name = path.substr(start, end - start);
        const bool isLast = next == std::wstring::npos;
        if (const DWORD code = openStep(source, walked.at, name, isLast, step, kind))
            return code == ERROR_INVALID_NAME ? DWORD{ERROR_PATH_NOT_FOUND} : code; // no object can have that name
        switch (kind) {
        case ObjectKind::file:
            return isLast ? ERROR_DIRECTORY : ERROR_PATH_NOT_FOUND;
        case ObjectKind::link: {
            const DWORD code = follow(source, step.object.get(), way.path, start, end, way.mountPoint);
            return code == ERROR_SUCCESS ? linkFollowed : code;
        }
        case ObjectKind::directory:
            walked.at = std::move(step);
            addStep(source, walked, name);
            start = next;
        }
    }
    opened = std::move(walked);
    return ERROR_SUCCESS;
}

/// Compares with the directory that the system finds at the same path: where the texts of links were put together
/// wrongly, another directory would be cleaned. Without an answer of the system the walk alone decides.
DWORD compareWithPlainOpen(IDirectorySource& source, const std::wstring& path, const WalkedDirectory& walked)
{
    OpenObject plain(source);
    FileId id;
    const bool isKnown = source.openPlainly(path, plain.receive()) == ERROR_SUCCESS &&
                         source.idOf(plain.get(), id) == ERROR_SUCCESS && walked.steps.back().hasId;
    return isKnown && !isSame(id, walked.steps.back().id) ? DWORD{leadsDifferently} : DWORD{ERROR_SUCCESS};
}

} // namespace

DWORD openCleanedDirectory(IDirectorySource& source, const std::wstring& path, WalkedDirectory& opened)
{
    constexpr int mostLinks = 16;
    Way way{literal(path), {}};
    for (int links = 0; links <= mostLinks; ++links) {
        const DWORD code = walk(source, way, opened);
        if (code == ERROR_SUCCESS)
            return compareWithPlainOpen(source, path, opened);
        if (code != linkFollowed)
            return code;
    }
    return cannotBeFollowed;
}
