#include "repair/adapter.h"

#include <utility>

namespace KelvoRepair {

Adapter::Adapter(std::shared_ptr<KelvoRepairAdapter::ISystemHelper> helper) : helper_(std::move(helper))
{
}

} // namespace KelvoRepair
