#pragma once

#include <cstdint>
#include <string>

namespace KelvoRepairAdapter {

/// The repair operations' only door to the operating system. Failures are vexceptions.
class ISystemHelper
{
public:
    virtual ~ISystemHelper() = default;

    virtual bool isServiceExist(const std::wstring& name) = 0;
    /// As the service control manager numbers it: 0 boot, 1 system, 2 automatic, 3 on demand, 4 disabled.
    virtual std::uint32_t getServiceStartupType(const std::wstring& name) = 0;
    /// As the service control manager numbers it: 1 stopped ... 7 paused.
    virtual std::uint32_t getServiceStatus(const std::wstring& name) = 0;
};

} // namespace KelvoRepairAdapter
