#include "repair/adapter.h"
#include "repair/json_text.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"

#include <json/value.h>
#include <windows.h>

namespace KelvoRepair {

namespace {

/// The name of a service state; null for another number.
const char* stateName(std::uint32_t state)
{
    switch (state) {
    case SERVICE_STOPPED:
        return "stopped";
    case SERVICE_START_PENDING:
        return "starting";
    case SERVICE_STOP_PENDING:
        return "stopping";
    case SERVICE_RUNNING:
        return "running";
    case SERVICE_CONTINUE_PENDING:
        return "continuing";
    case SERVICE_PAUSE_PENDING:
        return "pausing";
    case SERVICE_PAUSED:
        return "paused";
    default:
        return nullptr;
    }
}

/// Stops at the first answer that decides the status. @return null for a state without a name
const char* statusOf(KelvoRepairAdapter::ISystemHelper& helper, const std::wstring& name)
{
    if (!helper.isServiceExist(name))
        return "invalid";
    if (helper.getServiceStartupType(name) == SERVICE_DISABLED)
        return "disabled";
    return stateName(helper.getServiceStatus(name));
}

} // namespace

std::wstring Adapter::getServiceStatus(const std::wstring& name)
{
    return operation({"KelvoRepair::Adapter::getServiceStatus"}, callText(L"getServiceStatus(%s)", name), [&](Span&) {
        Json::Value answer(Json::objectValue);
        answer["name"] = jsonText(name);
        if (const char* const status = statusOf(*helper_, name))
            answer["status"] = status;
        return styledText(answer);
    });
}

} // namespace KelvoRepair
