#include "system/default_system_helper.h"

#include "runtime/failure/vosexception.h"
#include "runtime/late/late_imports.h"
#include "runtime/operation/call_text.h"
#include "runtime/operation/operation.h"
#include "runtime/path.h"
#include "runtime/text/format.h"
#include "runtime/text/mask.h"
#include "system/cleaning/machine_cleaning.h"
#include "system/panel/panel_directories.h"
#include "system/panel/panel_utility.h"
#include "system/service.h"

namespace KelvoRepairAdapter {

DefaultSystemHelper::~DefaultSystemHelper()
{
    try {
        finishMachineCleaning();
    } catch (...) { // no memory for the records
    }
}

bool DefaultSystemHelper::isServiceExist(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::isServiceExist"},
        callText(L"isServiceExist(%s)", name), [&](Span&) { return service::exist(name); });
}

std::uint32_t DefaultSystemHelper::getServiceStartupType(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getServiceStartupType"},
        callText(L"getServiceStartupType(%s)", name), [&](Span&) { return service::serviceStartupType(name); });
}

std::uint32_t DefaultSystemHelper::getServiceStatus(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getServiceStatus"},
        callText(L"getServiceStatus(%s)", name), [&](Span&) { return service::currentState(name); });
}

std::wstring DefaultSystemHelper::execUtil(const std::wstring& name, const std::wstring& arguments, bool bin64)
{
    const auto describe = [&] {
        return formatString(L"execUtil(%s, %s)", name.c_str(), maskArguments(arguments).c_str());
    };
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::execUtil"}, describe, [&](Span&) {
        std::wstring output;
        execKelvoUtil(name, arguments, &output, true, nullptr, bin64);
        return output;
    });
}

std::wstring DefaultSystemHelper::getKelvoRootDir()
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getKelvoRootDir"}, callText(L"getKelvoRootDir()"),
        [](Span&) { return panel::installationDirectory(); });
}

std::wstring DefaultSystemHelper::getDumpTempDir()
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getDumpTempDir"}, callText(L"getDumpTempDir()"),
        [](Span&) { return panel::dumpTempDirectory(); });
}

std::wstring DefaultSystemHelper::getWindowsDir()
{
    return operation(
        {"KelvoRepairAdapter::DefaultSystemHelper::getWindowsDir"}, callText(L"getWindowsDir()"), [](Span&) {
            wchar_t system[MAX_PATH];
            if (!late::SHGetSpecialFolderPathW(nullptr, system, CSIDL_SYSTEM, FALSE)) {
                throw vexception(L"SHGetSpecialFolderPath failed for index " + std::to_wstring(CSIDL_SYSTEM),
                    {"KelvoRepairAdapter::DefaultSystemHelper::getWindowsDir"});
            }
            return path::normalise(path::combine(system, L".."));
        });
}

DiskSpace DefaultSystemHelper::getDiskSpace(const std::wstring& path)
{
    return operation(
        {"KelvoRepairAdapter::DefaultSystemHelper::getDiskSpace"}, callText(L"getDiskSpace(%s)", path), [&](Span&) {
            ULARGE_INTEGER total{}, free{};
            if (!GetDiskFreeSpaceExW(path.c_str(), nullptr, &total, &free)) {
                throwLastError(
                    {L"GetDiskFreeSpaceEx() failed"}, {"KelvoRepairAdapter::DefaultSystemHelper::getDiskSpace"});
            }
            return DiskSpace{total.QuadPart, free.QuadPart};
        });
}

DirectoryEntries DefaultSystemHelper::listDirectory(const std::wstring& path, std::int32_t kind)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::listDirectory"},
        callText(L"listDirectory(%s, %d)", path, kind),
        [&](Span&) { return machineCleaning().list(path, static_cast<ListingKind>(kind)); });
}

void DefaultSystemHelper::removeDirectory(const std::wstring& path)
{
    changingOperation({"KelvoRepairAdapter::DefaultSystemHelper::removeDirectory"},
        callText(L"removeDirectory(%s)", path), [&] { machineCleaning().removeDirectory(path); });
}

void DefaultSystemHelper::removeFile(const std::wstring& path)
{
    changingOperation({"KelvoRepairAdapter::DefaultSystemHelper::removeFile"}, callText(L"removeFile(%s)", path),
        [&] { machineCleaning().removeFile(path); });
}

} // namespace KelvoRepairAdapter
