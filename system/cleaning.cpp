#include "system/cleaning.h"

#include "system/cleaned_directory.h"
#include "system/nt_directory_source.h"

#include <optional>

namespace cleaning {

namespace {

struct Kept
{
    std::wstring path;
    DirectoryAt directory;
};
thread_local std::optional<Kept> kept;

/// From now on the kernel itself refuses to follow links that others than administrators made, in all that this
/// process opens. Systems before Windows Server 2022 do not know it; nothing here depends on it.
void refuseRedirections() noexcept
{
    PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY policy{};
    policy.EnforceRedirectionTrust = 1;
    SetProcessMitigationPolicy(ProcessRedirectionTrustPolicy, &policy, sizeof policy);
}

} // namespace

IDirectorySource& source()
{
    static NtDirectorySource machine;
    return machine;
}

DWORD openDirectory(const std::wstring& path, const DirectoryAt*& opened)
{
    static const bool once = (refuseRedirections(), true);
    static_cast<void>(once);
    kept.reset();
    DirectoryAt found{OpenObject(source()), {}};
    const DWORD code = openCleanedDirectory(source(), path, found);
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
