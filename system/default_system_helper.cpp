#include "system/default_system_helper.h"

#include "runtime/format.h"
#include "runtime/mask.h"
#include "runtime/operation.h"
#include "runtime/path.h"
#include "runtime/vosexception.h"
#include "system/directory_listing.h"
#include "system/kelvo_util.h"
#include "system/panel_directories.h"
#include "system/removal.h"
#include "system/service.h"
#include "system/util_exec_log.h"

#include <shlobj.h>

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
        callWith(L"getServiceStartupType(%s)", name), [&](Span&) { return service::serviceStartupType(name); });
}

std::uint32_t DefaultSystemHelper::getServiceStatus(const std::wstring& name)
{
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::getServiceStatus"},
        callWith(L"getServiceStatus(%s)", name), [&](Span&) { return service::currentState(name); });
}

std::wstring DefaultSystemHelper::execUtil(const std::wstring& name, const std::wstring& arguments, bool bin64)
{
    const auto describe = [&] {
        return formatString(L"execUtil(%s, %s)", name.c_str(), maskedArguments(arguments).c_str());
    };
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::execUtil"}, describe, [&](Span&) {
        std::wstring output;
        execKelvoUtil(name, arguments, &output, true, nullptr, bin64);
        return output;
    });
}

std::wstring DefaultSystemHelper::getKelvoRootDir()
{
    return operation(
        {"KelvoRepairAdapter::DefaultSystemHelper::getKelvoRootDir"},
        [] { return std::wstring(L"getKelvoRootDir()"); }, [](Span&) { return panel::rootDirectory(); });
}

std::wstring DefaultSystemHelper::getDumpTempDir()
{
    return operation(
        {"KelvoRepairAdapter::DefaultSystemHelper::getDumpTempDir"}, [] { return std::wstring(L"getDumpTempDir()"); },
        [](Span&) { return panel::dumpTempDirectory(); });
}

std::wstring DefaultSystemHelper::getWindowsDir()
{
    return operation(
        {"KelvoRepairAdapter::DefaultSystemHelper::getWindowsDir"}, [] { return std::wstring(L"getWindowsDir()"); },
        [](Span&) {
            wchar_t system[MAX_PATH];
            if (!SHGetSpecialFolderPathW(nullptr, system, CSIDL_SYSTEM, FALSE)) {
                throw vexception(L"SHGetSpecialFolderPath failed for index " + std::to_wstring(CSIDL_SYSTEM),
                    {"KelvoRepairAdapter::DefaultSystemHelper::getWindowsDir"});
            }
            return path::normalise(path::combine(system, L".."));
        });
}

DiskSpace DefaultSystemHelper::getDiskSpace(const std::wstring& path)
{
    return operation(
        {"KelvoRepairAdapter::DefaultSystemHelper::getDiskSpace"}, callWith(L"getDiskSpace(%s)", path), [&](Span&) {
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
    const auto describe = [&] { return formatString(L"listDirectory(%s, %d)", maskArgument(path).c_str(), kind); };
    return operation({"KelvoRepairAdapter::DefaultSystemHelper::listDirectory"}, describe,
        [&](Span&) { return ::listDirectory(path, static_cast<ListingKind>(kind)); });
}

void DefaultSystemHelper::removeDirectory(const std::wstring& path)
{
    changingOperation({"KelvoRepairAdapter::DefaultSystemHelper::removeDirectory"},
        callWith(L"removeDirectory(%s)", path), [&] { ::removeDirectory(path); });
}

void DefaultSystemHelper::removeFile(const std::wstring& path)
{
    changingOperation({"KelvoRepairAdapter::DefaultSystemHelper::removeFile"}, callWith(L"removeFile(%s)", path),
        [&] { ::removeFile(path); });
}

} // namespace KelvoRepairAdapter
