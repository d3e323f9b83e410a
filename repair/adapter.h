#pragma once

#include "system/isystem_helper.h"

#include <json/forwards.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace KelvoRepair {

/// The repair commands, one operation each. Reaches the operating system only through the system helper.
/// Texts are styled JSON documents. Every failure leaves as a vexception; there is no partial answer.
class Adapter
{
public:
    /// Any implementation of the helper will do; the adapter shares its ownership.
    explicit Adapter(std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper) : helper_(std::move(helper)) {}

    /// {"name", "status"}; status is "invalid" for a missing service, "disabled", or the name of the state. A
    /// state that has no name leaves it out.
    std::wstring getServiceStatus(const std::wstring& name);

    /// Has the panel's utility repair its SQL server.
    void repairKelvoSqlServer();

    /// {"cpu", "memory", "swap"}: load averages in percent, and the figures of the panel's utility as it gives them.
    std::wstring getSystemResources();

    /// Has the panel's utility restart the web server's application pools.
    void freeSystemResources();

    /// [{"free", "total", "used", "volume"}]: bytes, for each volume that the panel uses, in the order of letters.
    std::wstring getDiskSpace();

    /// Empties the temporary directories of the panel and, on a volume that it uses, of the system. What cannot be
    /// removed is logged as a Warning and left; a directory that cannot be read ends the operation.
    void freeDiskSpace();

    /// {"message"}: has the panel's utility restart the machine after the time; does not wait for it.
    std::wstring reboot(std::uint32_t timeoutSeconds);

private:
    void cleanDirectory(const std::wstring& path, std::int32_t kind);
    Json::Value getSystemResources(const std::wstring& section);

    std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper_;
};

} // namespace KelvoRepair
