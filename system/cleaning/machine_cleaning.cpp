#include "system/cleaning/machine_cleaning.h"

#include "system/cleaning/machine_directories.h"
#include "system/cleaning/nt_directory_source.h"

#include <optional>

namespace {

/// Redirection trust: the kernel follows only links made by administrators, for all opens of this process.
/// Systems before Windows Server 2022 do not support it; nothing here depends on it.
void refuseRedirections() noexcept
{
    PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY policy{};
    policy.EnforceRedirectionTrust = 1;
    SetProcessMitigationPolicy(ProcessRedirectionTrustPolicy, &policy, sizeof policy);
}

struct Machine
{
    NtDirectorySource source; // first: at the end of the process the listed directory is closed through it
    CleaningRun run{source, neededDirectories};

    Machine() noexcept { refuseRedirections(); }
};

std::optional<Machine> machine;

} // namespace

CleaningRun& machineCleaning()
{
    if (!machine)
        machine.emplace();
    return machine->run;
}

void finishMachineCleaning()
{
    if (machine)
        machine->run.finish();
}
