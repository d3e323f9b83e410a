#pragma once

#include "system/isystem_helper.h"

#include <json/forwards.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace KelvoRepair {

/// The repair operations. They call the operating system only through the system helper. A returned text is a
/// complete styled JSON document. Every operation throws vexception on failure.
class Adapter
{
public:
    /// @param helper  not null; the adapter shares its ownership
    explicit Adapter(std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper) : helper_(std::move(helper)) {}

    /// {"name", "status"}: the status is "invalid" for a missing service, "disabled", or the name of the state. It is
    /// absent for a state without a name.
    std::wstring getServiceStatus(const std::wstring& name);

    /// Runs the panel's utility that repairs its SQL server.
    void repairKelvoSqlServer();

    /// {"cpu", "memory", "swap"}: load averages in percent, memory figures as the panel's utility prints them.
    std::wstring getSystemResources();

    /// Runs the panel's utility that restarts the web server's application pools.
    void freeSystemResources();

    /// [{"free", "total", "used", "volume"}]: the bytes of each volume that the panel uses, in the order of the
    /// names.
    std::wstring getDiskSpace();

    /// Empties the panel's temporary directories, and the system's if it is on a volume that the panel uses. Logs an
    /// entry that cannot be removed as a Warning. @throws vexception also when a directory cannot be read
    void freeDiskSpace();

    /// {"message"}: runs the panel's utility that restarts the machine after the time. Does not wait for the restart.
    std::wstring reboot(std::uint32_t timeoutSeconds);

private:
    void cleanDirectory(const std::wstring& path, std::int32_t kind);
    /// One section as a JSON value, where the public overload returns a text: the panel's interface gives both this
    /// name.
    Json::Value getSystemResources(const std::wstring& section);

    std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper_;
};

} // namespace KelvoRepair
