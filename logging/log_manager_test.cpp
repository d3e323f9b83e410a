#include "logging/log_manager.h"

#include "test/event_reports.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

class Records : public RegistrySandbox
{
};

TEST_F(Records, GoToTheSinksOfTheirLevel)
{
    const struct
    {
        int level;
        const wchar_t* name;
        bool isAtConsole, isSevere;
        WORD type; // of the event
    } rows[] = {{0, L"Info", false, false, EVENTLOG_INFORMATION_TYPE},
        {1, L"Warning", false, false, EVENTLOG_WARNING_TYPE}, {2, L"Result", true, false, EVENTLOG_SUCCESS},
        {3, L"Error", true, true, EVENTLOG_ERROR_TYPE}, {4, L"Unexpected", true, true, EVENTLOG_ERROR_TYPE},
        {5, L"Crash", true, true, EVENTLOG_ERROR_TYPE}, {6, L"Unknown level", false, true, 0xbad}};
    const EventReports events;
    RecordingHandler handler;
    for (const bool isDebug : {false, true}) {
        const ProductRoot root;
        setConfig(L"PRODUCT_ROOT_D", root.path());
        setConfig(L"Debug", isDebug);
        for (int query = 0; query < 16 && LogManager::isDebug() != isDebug; ++query) {
        }
        LogManager::resetSettings();
        LogManager::settings().consoleUsed = false;
        std::wstring lines;
        for (const auto& row : rows) {
            const testing::ScopedTrace trace(__FILE__, __LINE__, row.level);
            testing::internal::CaptureStdout();
            LogManager::log(static_cast<LogLevel>(row.level), L"\x416 %d", row.level);
            const std::string text = "\xd0\x96 " + std::to_string(row.level),
                              shown = row.level == 2 ? text : "\n" + text;
            EXPECT_EQ(row.isAtConsole ? shown : "", testing::internal::GetCapturedStdout());
            const std::size_t count = row.level < 6 && (row.isSevere || isDebug) ? 1 : 0;
            EXPECT_EQ(std::vector<WORD>(count, row.type), EventReports::take());
            EXPECT_EQ(L"\x416 " + std::to_wstring(row.level), handler.records.back().message);
            const std::wstring line =
                L" " + std::wstring(row.name) + L": \x416 " + std::to_wstring(row.level) + L"\r\n";
            EXPECT_EQ(row.isSevere || isDebug, root.log().ends_with(line));
        }
    }
    EXPECT_EQ(14u, handler.records.size());
}
