#include "system/service.h"

#include "runtime/text/format.h"
#include "system/default_system_helper.h"
#include "test/failure.h"
#include "test/recording_handler.h"
#include "test/replaced_import.h"

#include <functional>

namespace {

// Stands in for the service control manager.
std::wstring asked;
DWORD openFailure = 0, queryFailure = 0, configSize = 0;

SC_HANDLE WINAPI openManager(const wchar_t* machine, const wchar_t* database, DWORD rights)
{
    SetLastError(ERROR_ACCESS_DENIED);
    if (machine && machine == std::wstring(L"none"))
        return nullptr;
    asked = formatString(L"manager %s %s %lu", machine ? machine : L"-", database ? database : L"-", rights);
    return reinterpret_cast<SC_HANDLE>(&asked);
}

SC_HANDLE WINAPI openService(SC_HANDLE, const wchar_t* name, DWORD rights)
{
    asked += formatString(L", %s %lu", name, rights);
    SetLastError(openFailure);
    return openFailure ? nullptr : reinterpret_cast<SC_HANDLE>(&asked);
}

BOOL WINAPI queryStatus(SC_HANDLE, SERVICE_STATUS* status)
{
    *status = {1, 2, 3, 4, 5, 6, 7};
    SetLastError(queryFailure);
    return queryFailure == 0;
}

BOOL WINAPI queryConfig(SC_HANDLE, QUERY_SERVICE_CONFIGW* config, DWORD size, DWORD* needed)
{
    asked += formatString(L", %lu bytes", size);
    *needed = configSize;
    SetLastError(queryFailure ? queryFailure : ERROR_INSUFFICIENT_BUFFER);
    config->dwStartType = 3;
    return size >= configSize;
}

BOOL WINAPI closeHandle(SC_HANDLE)
{
    asked += L", close";
    return TRUE;
}

BOOL WINAPI tellSpace(const wchar_t*, ULARGE_INTEGER* available, ULARGE_INTEGER* total, ULARGE_INTEGER* free)
{
    if (available)
        available->QuadPart = 1;
    total->QuadPart = 1ULL << 40;
    free->QuadPart = 3;
    return TRUE;
}

} // namespace

TEST(Service, IsAskedWithNoMoreRightsThanNeeded)
{
    const ReplacedImport manager("OpenSCManagerW", openManager), service("OpenServiceW", openService),
        status("QueryServiceStatus", queryStatus), config("QueryServiceConfigW", queryConfig),
        close("CloseServiceHandle", closeHandle);
    const std::wstring local = L"manager - - 1, s ";
    const auto exist = [] { return DWORD{service::exist(L"s")}; };
    const auto state = [] { return service::currentState(L"s"); };
    const auto type = [] { return service::serviceStartupType(L"s"); };
    const struct
    {
        std::function<DWORD()> call;
        std::wstring asked, outcome; // the number, or the end of the failure
        DWORD openFailure = 0, queryFailure = 0, configSize = 260;
        std::size_t records = 0;
    } rows[] = {{exist, local + L"4, close, close", L"1"}, {exist, local + L"4, close", L"0", 1060},
        {exist, local + L"4, close", L"(Error code 5) at OpenService 's'", 5},
        {state, local + L"4, close, close", L"2"},
        {state, local + L"4, close", L"(Error code 1060) at OpenService 's'", 1060, 0, 0, 7},
        {state, local + L"4, close, close", L"(Error code 6) at QueryServiceStatus 's'", 0, 6, 0, 7},
        {type, local + L"1, 260 bytes, close, close", L"3"},
        {type, local + L"1, 260 bytes, 700 bytes, close, close", L"3", 0, 0, 700},
        {type, local + L"1, 260 bytes, close, close", L"(Error code 6) at query service config 's'", 0, 6, 700},
        {type, local + L"1, close", L"(Error code 5) at OpenService 's'", 5},
        {[] { return service::serviceStartupType(L"s", L"m", L"d"); }, L"manager m d 1, s 1, 260 bytes, close, close",
            L"3"}};
    for (const auto& row : rows) {
        openFailure = row.openFailure, queryFailure = row.queryFailure, configSize = row.configSize;
        const RecordingHandler log;
        DWORD number = 0;
        const std::wstring failure = failureOf([&] { number = row.call(); });
        const std::wstring outcome = failure == L"nothing thrown" ? std::to_wstring(number) : messageIn(failure);
        EXPECT_EQ(row.asked, asked);
        EXPECT_TRUE(outcome.ends_with(row.outcome)) << testing::PrintToString(outcome) << " for " << row.asked;
        EXPECT_EQ(row.records, log.records.size()) << row.asked;
        if (row.queryFailure && row.records) {
            EXPECT_EQ(L"  Controls Accepted: 0x3", log.records[1].message);
            EXPECT_EQ(L"  Wait Hint: 7", log.records[6].message);
        }
    }
}

TEST(Service, IsNotFoundWithoutAManager)
{
    const ReplacedImport manager("OpenSCManagerW", openManager);
    EXPECT_NE(std::wstring::npos, failureOf([] { service::serviceStartupType(L"s", L"none"); })
                                      .find(L"(Error code 5) at OpenSCManager\n   at "
                                            L"(`anonymous-namespace'::servicemanager::servicemanager line "));
}

TEST(SystemHelper, TellsAVolumesBytesNotTheCallersQuota)
{
    const ReplacedImport space("GetDiskFreeSpaceExW", tellSpace);
    const DiskSpace found = KelvoRepairAdapter::DefaultSystemHelper().getDiskSpace(L"C:\\");
    EXPECT_EQ(1ULL << 40, found.total);
    EXPECT_EQ(3u, found.free);
}

TEST(SystemHelper, MasksTheArgumentsOfAUtility)
{
    const std::wstring failure =
        failureOf([] { KelvoRepairAdapter::DefaultSystemHelper().execUtil(L"none", L"--pwd=s3", false); });
    EXPECT_TRUE(failure.ends_with(L") execUtil(none, \"--pwd=*\")")) << failure;
    EXPECT_EQ(std::wstring::npos, failure.find(L"s3"));
}
