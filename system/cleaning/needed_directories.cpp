#include "system/cleaning/needed_directories.h"

#include "runtime/text/letter_case.h"
#include "system/cleaning/win32_codes.h"

#include <algorithm>

namespace {

bool holds(const std::vector<FileId>& ids, const FileId& id) noexcept
{
    return std::any_of(ids.begin(), ids.end(), [&](const FileId& other) { return mayBeSame(id, other); });
}

/// Whether the names of the steps behind the first one begin with this path.
bool leadsThrough(
    const std::vector<WalkedDirectory::Step>& steps, std::size_t first, const std::vector<std::wstring>& names)
{
    if (steps.size() - first <= names.size())
        return false;
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (names[at] != L"*" && !equalIgnoringCase(names[at], steps[first + 1 + at].name))
            return false;
    }
    return true;
}

} // namespace

DWORD NeededDirectories::add(const Needed& needed)
{
    OpenObject object(source_);
    FileId id;
    std::wstring path;
    DWORD code = missingIfUnreachable(source_.openPlainly(needed.path, object.receive()));
    if (isMissing(code))
        return ERROR_SUCCESS;
    if (code == ERROR_SUCCESS)
        code = source_.idOf(object.get(), id);
    if (code == ERROR_SUCCESS)
        code = source_.pathOf(object.get(), path);
    if (code != ERROR_SUCCESS)
        return code;
    kept_.push_back(id);
    if (needed.isWhole)
        whole_.push_back({id, needed.freely});
    // Its path has no links but mount points, so each shorter path is a directory in which it lies.
    constexpr std::size_t shortest = 6; // "\\?\X:"
    for (std::size_t end = path.rfind(L'\\'); end != std::wstring::npos && end >= shortest;
        end = path.rfind(L'\\', end - 1)) {
        const std::wstring above = path.substr(0, end + 1);
        if (source_.openPlainly(above, object.receive()) != ERROR_SUCCESS)
            break; // above a volume's or a share's root
        if (source_.idOf(object.get(), id) == ERROR_SUCCESS && !holds(kept_, id))
            kept_.push_back(id);
    }
    return ERROR_SUCCESS;
}

DWORD NeededDirectories::refuse(const WalkedDirectory& directory) const
{
    const auto& steps = directory.steps;
    if (!steps.back().hasId) // file servers need not tell identities; of local directories all that are needed do
        return source_.isRemote(directory.at.object.get()) ? ERROR_SUCCESS : DWORD{hasNoIdentity};
    if (holds(kept_, steps.back().id))
        return holdsNeeded;
    for (std::size_t at = 0; at < steps.size(); ++at) {
        for (const Whole& whole : whole_) {
            const auto isFree = [&](const auto& names) { return leadsThrough(steps, at, names); };
            if (steps[at].hasId && mayBeSame(whole.id, steps[at].id) &&
                std::none_of(whole.freely.begin(), whole.freely.end(), isFree))
                return liesInNeeded;
        }
    }
    return ERROR_SUCCESS;
}
