#include "system/cleaning/kept_directory.h"

#include "system/cleaning/directory_walk.h"
#include "system/cleaning/needed_directories.h"
#include "system/cleaning/nt_directory_source.h"

#include <mutex>
#include <optional>

namespace cleaning {

namespace {

struct Kept
{
    std::wstring path;
    DirectoryAt directory;
};

// In this order: at the end of the process the open directory is closed through the source.
NtDirectorySource machine;
std::optional<Kept> kept;

/// Redirection trust: the kernel follows only links made by administrators, for all opens of this process.
/// Systems before Windows Server 2022 do not support it; nothing here depends on it.
void refuseRedirections() noexcept
{
    PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY policy{};
    policy.EnforceRedirectionTrust = 1;
    SetProcessMitigationPolicy(ProcessRedirectionTrustPolicy, &policy, sizeof policy);
}

} // namespace

IDirectorySource& source()
{
    return machine;
}

DWORD openDirectory(const std::wstring& path, const DirectoryAt*& opened)
{
    static std::once_flag once;
    std::call_once(once, refuseRedirections);
    kept.reset();
    DirectoryAt found{OpenObject(source()), {}};
    DWORD code = openCleanedDirectory(source(), path, found);
    if (code == ERROR_SUCCESS)
        code = refuseNeeded(found.object.get());
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
