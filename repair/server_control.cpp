#include "repair/adapter.h"
#include "repair/json_text.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"
#include "runtime/text/format.h"

#include <json/value.h>

namespace KelvoRepair {

std::wstring Adapter::reboot(std::uint32_t timeoutSeconds)
{
    const auto describe = [&] { return formatString(L"reboot(%lu)", timeoutSeconds); };
    return operation({"KelvoRepair::Adapter::reboot"}, describe, [&](Span&) {
        helper_->execUtil(L"shutdown", formatString(L"--reboot --timeout=%lu", timeoutSeconds), false);
        Json::Value answer(Json::objectValue);
        answer["message"] = "Server is going to restart";
        return styledText(answer);
    });
}

void Adapter::repairKelvoSqlServer()
{
    changingOperation({"KelvoRepair::Adapter::repairKelvoSqlServer"}, callText(L"repairKelvoSqlServer()"),
        [&] { helper_->execUtil(L"mysqlmng_adm", L"--repair", false); });
}

} // namespace KelvoRepair
