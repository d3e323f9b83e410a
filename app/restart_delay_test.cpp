#include "app/restart_delay.h"

#include "logging/log_manager.h"
#include "test/event_reports.h"
#include "test/recording_handler.h"
#include "test/registry_override.h"

TEST(RestartDelay, WarnsAdministratorsOfAllThatIsNotANumberOfSeconds)
{
    const RegistryOverride machine; // `Debug` is off
    setConfig(L"PRODUCT_ROOT_D", std::wstring(L"C:\\missing"));
    const EventReports events;
    LogManager::log(LogLevel::Warning, L"not for administrators");
    EXPECT_TRUE(EventReports::take().empty());
    const std::vector<WORD> none, warning{EVENTLOG_WARNING_TYPE};
    const struct
    {
        const wchar_t* text;
        std::uint32_t seconds;
        bool isNumber;
    } rows[] = {{L"0", 0, true}, {L" \t+15", 15, true}, {L"-0", 0, true}, {L"2147483647", 2147483647, true},
        {L"007", 7, true}, {L"", 0, false}, {L" ", 0, false}, {L"+", 0, false}, {L"5m", 5, false}, {L"5 ", 5, false},
        {L"abc", 0, false}, {L"99999999999", 2147483647, false}, {L"-1", UINT32_MAX, false},
        {L"-2147483648", 2147483648, false}, {L"4294967295", 2147483647, false},
        {L"18446744073709551621", 2147483647, false}, {L"5pwd=s3", 5, false}};
    const RecordingHandler log;
    for (const auto& [text, seconds, isNumber] : rows) {
        EXPECT_EQ(seconds, restartDelay(text)) << testing::PrintToString(text);
        EXPECT_EQ(isNumber ? none : warning, EventReports::take()) << testing::PrintToString(text);
    }
    EXPECT_EQ(L"--timeout=5pwd=* is not a number of seconds from 0 to 2147483647. Used instead: 5",
        log.records.back().message);
}
