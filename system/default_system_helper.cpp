#include "system/default_system_helper.h"

#include "runtime/format.h"
#include "runtime/mask.h"
#include "runtime/operation.h"
#include "system/service.h"

namespace KelvoRepairAdapter {

namespace {

/// The description of a call with one text argument: `format` has the one %s.
auto callWith(const wchar_t* format, const std::wstring& argument)
{
    return [format, &argument] { return formatString(format, maskArgument(argument).c_str()); };
}

} // namespace

bool DefaultSystemHelper::isServiceExist(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::isServiceExist"},
        callWith(L"isServiceExist(%s)", name), [&](Span&) { return service::exist(name); });
}

std::uint32_t DefaultSystemHelper::getServiceStartupType(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getServiceStartupType"},
        callWith(L"getServiceStartupType(%s)", name),
        [&](Span&) { return service::serviceStartupType(name); });
}

std::uint32_t DefaultSystemHelper::getServiceStatus(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getServiceStatus"},
        callWith(L"getServiceStatus(%s)", name), [&](Span&) { return service::currentState(name); });
}

} // namespace KelvoRepairAdapter
