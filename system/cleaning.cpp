#include "system/cleaning.h"

#include "runtime/letter_case.h"
#include "runtime/module.h"
#include "system/cleaned_directory.h"
#include "system/nt_directory_source.h"

#include <algorithm>
#include <optional>

namespace cleaning {

namespace {

struct Kept
{
    std::wstring path;
    DirectoryAt directory;
};

// In this order: what is kept at the end of the process is closed through the source.
NtDirectorySource machine;
std::optional<Kept> kept;

/// From now on the kernel itself refuses to follow links that others than administrators made, in all that this
/// process opens. Systems before Windows Server 2022 do not know it; nothing here depends on it.
void refuseRedirections() noexcept
{
    PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY policy{};
    policy.EnforceRedirectionTrust = 1;
    SetProcessMitigationPolicy(ProcessRedirectionTrustPolicy, &policy, sizeof policy);
}

/// Where the system's and this program's own directories lie.
std::vector<std::wstring> neededLocations()
{
    std::vector<std::wstring> locations;
    wchar_t system[MAX_PATH] = L"";
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring program = moduleFileName();
    for (const std::wstring& path : {std::wstring(system), program.substr(0, program.rfind(L'\\'))}) {
        DirectoryAt found{OpenObject(source()), {}};
        if (openCleanedDirectory(source(), path, found) == ERROR_SUCCESS)
            locations.push_back(upperCase(found.location) + L'\\');
    }
    return locations;
}

/// Whether the machine, or the panel, could not go on without what is in the directory, whatever its path looks like.
bool isNeeded(const DirectoryAt& directory)
{
    static const std::vector<std::wstring> needed = neededLocations();
    const std::wstring location = upperCase(directory.location) + L'\\';
    return std::any_of(
        needed.begin(), needed.end(), [&](const std::wstring& place) { return place.starts_with(location); });
}

} // namespace

IDirectorySource& source()
{
    return machine;
}

DWORD openDirectory(const std::wstring& path, const DirectoryAt*& opened)
{
    static const bool once = (refuseRedirections(), true);
    static_cast<void>(once);
    kept.reset();
    DirectoryAt found{OpenObject(source()), {}};
    DWORD code = openCleanedDirectory(source(), path, found);
    if (code == ERROR_SUCCESS && isNeeded(found))
        code = ERROR_CURRENT_DIRECTORY;
    if (code == ERROR_SUCCESS)
        opened = &kept.emplace(Kept{path, std::move(found)}).directory;
    return code;
}

DWORD directory(const std::wstring& path, const DirectoryAt*& opened)
{
    if (!kept || kept->path != path)
        return openDirectory(path, opened);
    opened = &kept->directory;
    return ERROR_SUCCESS;
}

} // namespace cleaning
