#include "logging/log_file.h"

#include "config/registry.h"
#include "runtime/vosexception.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

#include <regex>

namespace {

class Logs : public RegistrySandbox
{
protected:
    Logs() { setConfig(L"PRODUCT_ROOT_D", root.path()); }
    const ProductRoot root;
};

} // namespace

TEST_F(Logs, FailureOfOneSinkCostsNoOtherItsRecord)
{
    setConfig(L"PRODUCT_ROOT_D", root.path() + L"\\missing");
    EXPECT_THROW(LogFile(L"debug", true).write(L"x"), VPathNotFoundException);
    setConfig(L"PRODUCT_ROOT_D", root.path());
    const UniqueFile held(
        CreateFileW(root.logFile(L"debug").c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr));
    EXPECT_THROW(LogFile(L"debug", true).write(L"x"), VSharingViolationException);

    struct Throwing : RecordingHandler
    {
        void log(LogLevel, const std::wstring&) override { throw 1; }
    } throwing;
    RecordingHandler handler;
    testing::internal::CaptureStdout();
    LogManager::log(LogLevel::Error, L"%S %I64u", "one", ~0ull);
    LogManager::log(LogLevel::Result, nullptr); // a format that cannot be used: no record at all
    LogManager::log(LogLevel::Result, L"%s", L"Ж");
    LogManager::log(LogLevel::Info, L"quiet");
    LogManager::log(LogLevel::Error, vexception(L"%s%n", {"f", 1}));
    EXPECT_EQ("one 18446744073709551615\n\xd0\x96\n%s%n\n   at (f line 1)", testing::internal::GetCapturedStdout());
    ASSERT_EQ(4u, handler.records.size());
    EXPECT_EQ(LogLevel::Error, handler.records[0].level);
    EXPECT_EQ(L"quiet", handler.records[2].message);
    EXPECT_EQ(L"%s%n\n   at (f line 1)", handler.records[3].message);
}

TEST_F(Logs, DebugLogTakesSevereRecordsAndWithDebugAll)
{
    testing::internal::CaptureStdout();
    LogManager::log(LogLevel::Info, L"hidden");
    LogManager::log(LogLevel::Crash, L"shown");
    LogManager::log(static_cast<LogLevel>(9), L"odd");
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(
        std::regex_match(root.log(), std::wregex(L"\xfeff\\d.* Crash: shown\r\n\\d.* Unknown level: odd\r\n")));

    // Creating the settings took three queries of the switch, each record one: the 17th reads it anew.
    setConfig(L"Debug", 1);
    for (int record = 7; record <= 17; ++record)
        LogManager::log(LogLevel::Info, L"record %d", record);
    EXPECT_TRUE(root.log().ends_with(L" Info: record 17\r\n"));
    EXPECT_EQ(std::wstring::npos, root.log().find(L"record 16"));
}
