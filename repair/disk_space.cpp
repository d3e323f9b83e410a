#include "repair/adapter.h"
#include "repair/json_text.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"
#include "runtime/path.h"
#include "runtime/text/letter_case.h"

#include <json/value.h>

#include <set>

namespace KelvoRepair {

std::wstring Adapter::getDiskSpace()
{
    return operation({"KelvoRepair::Adapter::getDiskSpace"}, callText(L"getDiskSpace()"), [&](Span&) {
        std::set<std::wstring> volumes;
        volumes.insert(upperCase(path::root(helper_->getKelvoRootDir())));
        volumes.insert(upperCase(path::root(helper_->getDumpTempDir())));

        Json::Value answer(Json::arrayValue);
        for (const std::wstring& volume : volumes) {
            const DiskSpace space = helper_->getDiskSpace(volume);
            Json::Value entry(Json::objectValue);
            entry["volume"] = jsonText(volume);
            entry["total"] = Json::Value::UInt64{space.total};
            entry["free"] = Json::Value::UInt64{space.free};
            entry["used"] = Json::Value::UInt64{space.total - space.free};
            answer.append(entry);
        }
        return styledText(answer);
    });
}

} // namespace KelvoRepair
