#include "logging/log_file.h"

#include "config/registry.h"
#include "logging/event_log.h"
#include "runtime/vdatetime.h"
#include "runtime/vosexception.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

#include <regex>
#include <thread>

namespace {

class Logs : public RegistrySandbox
{
protected:
    Logs() { setConfig(L"PRODUCT_ROOT_D", root.path()); }
    const ProductRoot root;
};

} // namespace

TEST_F(Logs, AreWrittenOnlyWhenEnabled)
{
    setConfig(L"log_off_enabled", 0);
    LogFile(L"off", true).write(L"x");
    LogFile(L"default", false).write(L"x");
    EXPECT_EQ(L"", root.log(L"off") + root.log(L"default"));
    LogFile off(L"off", true);
    EXPECT_FALSE(UniqueHandle(OpenMutexW(SYNCHRONIZE, FALSE, L"kelvolog_off_mutex")));
    setConfig(L"log_default_enabled", 1);
    LogFile on(L"default", false);
    const UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, L"kelvolog_default_mutex"));
    ASSERT_TRUE(mutex);
    std::thread([&] { WaitForSingleObject(mutex.get(), INFINITE); }).join(); // dies with the mutex
    on.write(L"x");
    EXPECT_NE(L"", root.log(L"default"));
}

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

TEST_F(Logs, EventSourceIsRegisteredOnceAndAnExistingLogKeepsItsSettings)
{
    const std::wstring log = L"System\\CurrentControlSet\\Services\\EventLog\\Kelvo";
    DWORD types = 0, size = 0;
    EventLog().report(LogLevel::Error, std::wstring(100'000, L'x'));
    registry::lookup(HKEY_LOCAL_MACHINE, log + L"\\mendkit_logging_test", L"TypesSupported", types, 0);
    registry::lookup(HKEY_LOCAL_MACHINE, log, L"MaxSize", size, 0);
    EXPECT_EQ(7u, types);
    EXPECT_EQ(0x800000u, size);
    EXPECT_EQ(root.path() + L"\\admin\\bin64\\eventmsg.dll",
        registry::getstr(HKEY_LOCAL_MACHINE, log + L"\\mendkit_logging_test", L"EventMessageFile", 0));
    registry::set(registry::open(HKEY_LOCAL_MACHINE, log, KEY_WRITE).get(), L"MaxSize", 5);
    EXPECT_NE(nullptr, EventLog().handle());
    registry::lookup(HKEY_LOCAL_MACHINE, log, L"MaxSize", size, 0);
    EXPECT_EQ(5u, size);
}
