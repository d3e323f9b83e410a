#include "app/restart_delay.h"

#include "logging/log_manager.h"
#include "test/registry_override.h"
#include "test/replaced_import.h"

namespace {

int reports = 0; // of Warnings, to the event log

HANDLE WINAPI registerSource(LPCWSTR, LPCWSTR)
{
    return &reports;
}
BOOL WINAPI report(HANDLE, WORD type, WORD, DWORD, PSID, WORD, DWORD, LPCWSTR*, LPVOID)
{
    reports += type == EVENTLOG_WARNING_TYPE ? 1 : 0;
    return TRUE;
}
BOOL WINAPI deregister(HANDLE)
{
    return TRUE;
}

} // namespace

TEST(RestartDelay, WarnsAdministratorsOfAllThatIsNotANumberOfSeconds)
{
    const RegistryOverride machine; // `Debug` is off
    setConfig(L"PRODUCT_ROOT_D", std::wstring(L"C:\\missing"));
    const ReplacedImport open("RegisterEventSourceW", registerSource), write("ReportEventW", report),
        close("DeregisterEventSource", deregister);
    LogManager::log(LogLevel::Warning, L"not for administrators");
    EXPECT_EQ(0, reports);
    const struct
    {
        const wchar_t* text;
        std::uint32_t seconds;
        bool isNumber;
    } rows[] = {{L"0", 0, true}, {L" \t+15", 15, true}, {L"-0", 0, true}, {L"2147483647", 2147483647, true},
        {L"007", 7, true}, {L"", 0, false}, {L" ", 0, false}, {L"+", 0, false}, {L"5m", 5, false},
        {L"5 ", 5, false}, {L"abc", 0, false}, {L"99999999999", 2147483647, false}, {L"-1", UINT32_MAX, false},
        {L"4294967295", 2147483647, false}, {L"18446744073709551621", 2147483647, false}};
    for (const auto& [text, seconds, isNumber] : rows) {
        reports = 0;
        EXPECT_EQ(seconds, restartDelay(text)) << testing::PrintToString(text);
        EXPECT_EQ(isNumber ? 0 : 1, reports) << testing::PrintToString(text);
    }
}
