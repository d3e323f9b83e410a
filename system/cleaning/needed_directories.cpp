#include "system/cleaning/needed_directories.h"

#include "runtime/text/letter_case.h"
#include "system/cleaning/win32_codes.h"

#include <algorithm>

namespace {

bool holds(const std::vector<FileId>& ids, const FileId& id) noexcept
{
    return std::any_of(ids.begin(), ids.end(), [&](const FileId& other) { return mayBeSame(id, other); });
}

/// Whether a path is, or lies in, the exception.
bool isIn(std::wstring_view exception, std::wstring_view path)
{
    while (!exception.empty()) {
        const std::size_t end = std::min(exception.find(L'\\', 1), exception.size());
        const std::size_t pathEnd = std::min(path.find(L'\\', 1), path.size());
        if (path.empty() || (exception.substr(0, end) != L"\\*" &&
                                !equalIgnoringCase(exception.substr(0, end), path.substr(0, pathEnd))))
            return false;
        exception.remove_prefix(end);
        path.remove_prefix(pathEnd);
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
        whole_.push_back({id, needed.exceptions});
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
    std::wstring below; // the path from the step to the directory
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        for (const Whole& whole : whole_) {
            const auto isBelow = [&](const wchar_t* exception) { return isIn(exception, below); };
            if (step->hasId && mayBeSame(whole.id, step->id) &&
                std::none_of(whole.exceptions.begin(), whole.exceptions.end(), isBelow))
                return liesInNeeded;
        }
        below.insert(0, L"\\" + step->name);
    }
    return ERROR_SUCCESS;
}
