#include "repair/adapter.h"
#include "repair/json_text.h"
#include "repair/sysinfo_output.h"
#include "runtime/format.h"
#include "runtime/mask.h"
#include "runtime/operation.h"

#include <json/value.h>

namespace KelvoRepair {

Json::Value Adapter::getSystemResources(const std::wstring& section)
{
    const auto describe = [&] { return formatString(L"getSystemResources(%s)", maskArgument(section).c_str()); };
    return operation({"KelvoRepair::Adapter::getSystemResources"}, describe,
        [&](Span&) { return namedNumbers(helper_->execUtil(L"sysinfo", section, false)); });
}

std::wstring Adapter::getSystemResources()
{
    const auto describe = [] { return std::wstring(L"getSystemResources()"); };
    return operation({"KelvoRepair::Adapter::getSystemResources"}, describe, [&](Span&) {
        Json::Value answer(Json::objectValue);
        answer["cpu"] = loadAverages(helper_->execUtil(L"sysinfo", L"loadavg", false));
        answer["memory"] = getSystemResources(L"memory");
        answer["swap"] = getSystemResources(L"swap");
        return styledText(answer);
    });
}

void Adapter::freeSystemResources()
{
    const auto describe = [] { return std::wstring(L"freeSystemResources()"); };
    changingOperation({"KelvoRepair::Adapter::freeSystemResources"}, describe,
        [&] { helper_->execUtil(L"websrvmng", L"--restart-vhosts-app-pools", true); });
}

} // namespace KelvoRepair
