#include "logging/log_manager.h"
#include "repair/adapter.h"
#include "repair/cleaning_table.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"
#include "runtime/path.h"
#include "runtime/text/mask.h"

namespace KelvoRepair {

void Adapter::freeDiskSpace()
{
    changingOperation({"KelvoRepair::Adapter::freeDiskSpace"}, callText(L"freeDiskSpace()"), [&] {
        const std::wstring root = helper_->getKelvoRootDir();
        const std::wstring dumps = helper_->getDumpTempDir();
        for (const auto& [path, kind] : cleaningTable(root, dumps, helper_->getWindowsDir()))
            cleanDirectory(path, static_cast<std::int32_t>(kind));
    });
}

void Adapter::cleanDirectory(const std::wstring& directory, std::int32_t kind)
{
    changingOperation(
        {"KelvoRepair::Adapter::cleanDirectory"}, callText(L"cleanDirectory(%s, %d)", directory, kind), [&] {
            for (const DirectoryEntry& entry : helper_->listDirectory(directory, kind)) {
                if (entry.isDots())
                    continue;
                const std::wstring inside = path::append(directory, entry.name);
                try {
                    const auto describeEntry = [&] { return L"Remove '" + maskArgument(inside) + L"'"; };
                    changingOperation({"KelvoRepair::Adapter::cleanDirectory"}, describeEntry, [&] {
                        if (entry.isRealDirectory())
                            helper_->removeDirectory(inside);
                        else
                            helper_->removeFile(inside);
                    });
                } catch (const vexception& failure) { // go on: the next entries may be removable
                    LogManager::log(LogLevel::Warning, failure);
                }
            }
        });
}

} // namespace KelvoRepair
