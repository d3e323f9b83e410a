#include "system/cleaning/kept_directory.h"

#include "runtime/handle/handles.h"
#include "runtime/module.h"
#include "runtime/text/letter_case.h"
#include "system/cleaning/directory_walk.h"
#include "system/cleaning/nt_directory_source.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

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

/// Where an open directory lies, in long names: a location is told with the names by which it was opened, and a short
/// one ("C:\\PROGRA~1") would look like another directory's.
DWORD finalLocation(HANDLE directory, std::wstring& location)
{
    wchar_t buffer[0x8000];
    const DWORD length =
        GetFinalPathNameByHandleW(directory, buffer, std::size(buffer), FILE_NAME_NORMALIZED | VOLUME_NAME_NT);
    if (length == 0 || length >= std::size(buffer))
        return length == 0 ? GetLastError() : DWORD{ERROR_FILENAME_EXCED_RANGE};
    location = upperCase(std::wstring(buffer, length)) + L'\\';
    return ERROR_SUCCESS;
}

/// Finds the locations of the system's and of this program's own directory.
DWORD findNeeded(std::vector<std::wstring>& locations)
{
    wchar_t system[MAX_PATH] = L"";
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring program = moduleFileName();
    std::vector<std::wstring> found;
    for (const std::wstring& path : {std::wstring(system), program.substr(0, program.rfind(L'\\'))}) {
        const UniqueFile directory(
            CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        const DWORD code = directory ? finalLocation(directory.get(), found.emplace_back()) : GetLastError();
        if (code != ERROR_SUCCESS)
            return code;
    }
    locations = std::move(found);
    return ERROR_SUCCESS;
}

/// @return ERROR_CURRENT_DIRECTORY when the machine, or the panel, could not go on without what is in the directory,
/// whatever its path looks like; another code when this cannot be told. (What its text alone tells, the table of the
/// directories to be cleaned has judged before: roots of volumes, the panel's root.)
DWORD refuseNeeded(const DirectoryAt& directory)
{
    static std::vector<std::wstring> needed;
    DWORD code = needed.empty() ? findNeeded(needed) : DWORD{ERROR_SUCCESS};
    std::wstring location;
    if (code == ERROR_SUCCESS)
        code = finalLocation(directory.object.get(), location);
    const auto isIn = [&](const std::wstring& place) { return place.starts_with(location); };
    return code == ERROR_SUCCESS && std::any_of(needed.begin(), needed.end(), isIn) ? DWORD{ERROR_CURRENT_DIRECTORY}
                                                                                    : code;
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
    if (code == ERROR_SUCCESS)
        code = refuseNeeded(found);
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
