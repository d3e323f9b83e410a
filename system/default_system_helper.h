#pragma once

#include "system/isystem_helper.h"

namespace KelvoRepairAdapter {

/// The real machine. Holds no state.
class DefaultSystemHelper : public ISystemHelper
{
public:
    bool isServiceExist(const std::wstring& name) override;
    std::uint32_t getServiceStartupType(const std::wstring& name) override;
    std::uint32_t getServiceStatus(const std::wstring& name) override;
};

} // namespace KelvoRepairAdapter
