#include "repair/cleaning_table.h"

#include "logging/log_manager.h"
#include "runtime/path.h"
#include "system/panel/panel_directories.h"

namespace KelvoRepair {

namespace {

std::wstring withoutTrailingSeparators(std::wstring path)
{
    while (path.ends_with(L'\\'))
        path.pop_back();
    return path;
}

/// Whether the first directory is, or contains, the second one.
bool holds(const std::wstring& directory, const std::wstring& other)
{
    return startsWithIgnoringCase(other + L'\\', directory + L'\\');
}

/// The root of the directory's volume; empty for a path without one.
std::wstring volumeOf(const std::wstring& directory)
{
    try {
        return path::isAbsolute(directory) ? path::root(directory) : L"";
    } catch (const vexception&) {
        return {};
    }
}

/// Whether the path of a directory allows emptying it. Refuses roots of volumes and directories that contain the
/// installation directory or the system's directories. Links and other spellings of a path are found later, when the
/// directory is open (NeededDirectories).
bool mayBeCleaned(const std::wstring& directory, const std::wstring& root, const std::wstring& windows)
{
    const std::wstring volume = volumeOf(directory);
    if (volume.empty() || holds(directory, withoutTrailingSeparators(volume)))
        return false;
    for (const std::wstring& needed : {root, windows, path::combine(windows, L"System32")}) {
        if (holds(directory, withoutTrailingSeparators(needed)))
            return false;
    }
    return true;
}

} // namespace

CleaningTable cleaningTable(const std::wstring& root, const std::wstring& dumps, const std::wstring& windows)
{
    CleaningTable table;
    table.emplace(path::combine(root, L"PrivateTemp"), ListingKind::directoriesThenFiles);
    table.emplace(path::combine(root, L"MGX\\tmp"), ListingKind::directoriesThenFiles);
    table.emplace(path::combine(root, L"tmp"), ListingKind::files);
    table.emplace(path::combine(root, L"tmp\\aps"), ListingKind::directoriesThenFiles);
    table.emplace(path::combine(root, L"tmp\\horde"), ListingKind::directoriesThenFiles);

    const std::wstring dumpDirectory = withoutTrailingSeparators(dumps);
    const bool isConfirmed = panel::mayCleanDumpTempDirectory(dumps); // else logs the reason
    if (isConfirmed && mayBeCleaned(dumpDirectory, root, windows)) {
        table.emplace(dumpDirectory, ListingKind::directoriesThenFiles);
    } else if (isConfirmed) {
        LogManager::logForAdministrators(
            L"The directory of temporary dumps '%s' is not one that may be emptied. It is left alone", dumps.c_str());
    }
    const std::wstring systemVolume = path::root(windows);
    if (equalIgnoringCase(systemVolume, path::root(root)) || equalIgnoringCase(systemVolume, volumeOf(dumps)))
        table.emplace(path::combine(windows, L"Temp"), ListingKind::directoriesThenFiles);
    return table;
}

} // namespace KelvoRepair
