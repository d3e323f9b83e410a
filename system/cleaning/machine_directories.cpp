#include "system/cleaning/machine_directories.h"

#include "config/product_config.h"
#include "runtime/failure/vosexception.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "system/panel/panel_directories.h"

namespace {

using Needed = NeededDirectories::Needed;

void addInstallation(std::vector<Needed>& all, const std::wstring& root)
{
    if (!path::isAbsolute(root))
        return;
    all.push_back({root});
    all.push_back({path::append(root, L"admin"), true});
    all.push_back({path::append(root, L"etc"), true});
}

/// A directory of the registry; empty when it is not set.
std::wstring registered(std::wstring (*directory)())
{
    try {
        return directory();
    } catch (const vexception&) {
        return {};
    }
}

} // namespace

std::vector<Needed> neededDirectories()
{
    wchar_t buffer[MAX_PATH];
    if (GetSystemWindowsDirectoryW(buffer, MAX_PATH) == 0)
        throwLastError({L"GetSystemWindowsDirectory"}, {"neededDirectories"});
    const std::wstring windows = buffer, program = moduleFileName();
    static constexpr const wchar_t* temporary[] = {L"\\Temp", L"\\SystemTemp",
        L"\\ServiceProfiles\\*\\AppData\\Local\\Temp", L"\\System32\\config\\systemprofile\\AppData\\Local\\Temp"};
    std::vector<Needed> all;
    all.push_back({windows, true, temporary});
    all.push_back({path::append(windows, L"System32")});
    all.push_back({program.substr(0, program.rfind(L'\\') + 1)}); // "C:" alone would be the current directory
    const std::wstring root = registered(config::installationDirectory),
                       answered = panel::knownInstallationDirectory();
    addInstallation(all, root);
    if (answered != root)
        addInstallation(all, answered);
    if (const std::wstring data = registered(config::dataDirectory); path::isAbsolute(data))
        all.push_back({data});
    return all;
}
