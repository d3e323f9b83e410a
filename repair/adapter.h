#pragma once

#include "system/isystem_helper.h"

#include <cstdint>
#include <memory>
#include <string>

namespace KelvoRepair {

/// The repair commands, one operation each. Reaches the operating system only through the system helper.
/// Texts are styled JSON documents. Every failure leaves as a vexception; there is no partial answer.
class Adapter
{
public:
    /// Any implementation of the helper will do; the adapter shares its ownership.
    explicit Adapter(std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper);

    /// {"name", "status"}; status is "invalid" for a missing service, "disabled", or the name of the state. A
    /// state that has no name leaves it out.
    std::wstring getServiceStatus(const std::wstring& name);

    void repairKelvoSqlServer();
    std::wstring getSystemResources();
    void freeSystemResources();
    std::wstring getDiskSpace();
    void freeDiskSpace();
    std::wstring reboot(std::uint32_t timeoutSeconds);

private:
    std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper_;
};

} // namespace KelvoRepair
