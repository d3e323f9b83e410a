#include "repair/adapter.h"
#include "repair/json_text.h"
#include "repair/sysinfo_output.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"

#include <json/value.h>

namespace KelvoRepair {

Json::Value Adapter::getSystemResources(const std::wstring& section)
{
    return operation({"KelvoRepair::Adapter::getSystemResources"}, callText(L"getSystemResources(%s)", section),
        [&](Span&) { return namedNumbers(helper_->execUtil(L"sysinfo", section, false)); });
}

std::wstring Adapter::getSystemResources()
{
    return operation({"KelvoRepair::Adapter::getSystemResources"}, callText(L"getSystemResources()"), [&](Span&) {
        Json::Value answer(Json::objectValue);
        answer["cpu"] = loadAverages(helper_->execUtil(L"sysinfo", L"loadavg", false));
        answer["memory"] = getSystemResources(L"memory");
        answer["swap"] = getSystemResources(L"swap");
        return styledText(answer);
    });
}

void Adapter::freeSystemResources()
{
    changingOperation({"KelvoRepair::Adapter::freeSystemResources"}, callText(L"freeSystemResources()"),
        [&] { helper_->execUtil(L"websrvmng", L"--restart-vhosts-app-pools", true); });
}

} // namespace KelvoRepair
