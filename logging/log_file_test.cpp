#include "logging/log_file.h"

#include "config/registry.h"
#include "logging/event_log.h"
#include "logging/execute_context.h"
#include "runtime/vdatetime.h"
#include "runtime/vosexception.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

#include <cstddef>
#include <regex>

namespace {

class Logs : public RegistrySandbox
{
protected:
    Logs()
    {
        makeDirectory(root.path() + L"\\admin");
        logs = makeDirectory(root.path() + L"\\admin\\logs");
        setConfig(L"PRODUCT_ROOT_D", root.path());
    }

    std::wstring fileOf(const std::wstring& name) const
    {
        return logs + L"\\kelvolog_" + name + VDateTime::local().compactDate() + L".log";
    }

    const TempDirectory root;
    std::wstring logs;
};

std::string utf16(const std::wstring& text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

bool mutexExists(const wchar_t* name)
{
    return UniqueHandle(OpenMutexW(SYNCHRONIZE, FALSE, name)).get() != nullptr;
}

} // namespace

TEST_F(Logs, LinesAreAppendedBehindOneByteOrderMark)
{
    LogFile(L"a", true).write(L"first Ж");
    const std::string once = readFile(fileOf(L"a"));
    EXPECT_EQ("\xff\xfe", once.substr(0, 2));
    const std::string end = utf16(L" " + std::to_wstring(GetCurrentProcessId()) + L" " +
                                  std::to_wstring(GetCurrentThreadId()) + L" first Ж\r\n");
    EXPECT_EQ(2 + 23 * 2 + end.size(), once.size()) << "mark, time stamp, the rest";
    EXPECT_TRUE(once.ends_with(end));

    LogFile(L"a", true).write(L"second\n");
    const std::string twice = readFile(fileOf(L"a"));
    EXPECT_EQ(once, twice.substr(0, once.size()));
    EXPECT_TRUE(twice.ends_with(utf16(L" second\n\r\n")));
    EXPECT_EQ(std::string::npos, twice.find("\xff\xfe", 2));
}

TEST_F(Logs, AreWrittenOnlyWhenEnabled)
{
    setConfig(L"log_off_enabled", 0);
    LogFile(L"off", true).write(L"x");
    LogFile(L"default", false).write(L"x");
    EXPECT_EQ("", readFile(fileOf(L"off")));
    EXPECT_EQ("", readFile(fileOf(L"default")));
    LogFile off(L"off", true);
    EXPECT_FALSE(mutexExists(L"kelvolog_off_mutex"));
    setConfig(L"log_default_enabled", 1);
    LogFile on(L"default", false);
    EXPECT_TRUE(mutexExists(L"kelvolog_default_mutex"));
    on.write(L"x");
    EXPECT_NE("", readFile(fileOf(L"default")));
}

TEST_F(Logs, FailureOfOneSinkCostsNoOtherItsRecord)
{
    setConfig(L"PRODUCT_ROOT_D", root.path() + L"\\missing");
    EXPECT_THROW(LogFile(L"debug", true).write(L"x"), VPathNotFoundException);
    setConfig(L"PRODUCT_ROOT_D", root.path());
    const UniqueFile held(CreateFileW(fileOf(L"debug").c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr));
    EXPECT_THROW(LogFile(L"debug", true).write(L"x"), VSharingViolationException);

    struct Throwing : RecordingHandler
    {
        void log(LogLevel, const std::wstring&) override { throw 1; }
    } throwing;
    RecordingHandler handler;
    testing::internal::CaptureStdout();
    LogManager::log(LogLevel::Error, L"%s %d", L"one", 2);
    LogManager::log(LogLevel::Result, nullptr); // a format that cannot be used: no record at all
    LogManager::log(LogLevel::Result, L"%s", L"Ж");
    LogManager::log(LogLevel::Info, L"quiet");
    LogManager::log(LogLevel::Error, vexception(L"failure", {"f", 1}));
    EXPECT_EQ("one 2\n\xd0\x96\nfailure\n   at (f line 1)", testing::internal::GetCapturedStdout());
    ASSERT_EQ(4u, handler.records.size());
    EXPECT_EQ(L"one 2", handler.records[0].message);
    EXPECT_EQ(LogLevel::Error, handler.records[0].level);
    EXPECT_EQ(L"quiet", handler.records[2].message);
    EXPECT_EQ(L"failure\n   at (f line 1)", handler.records[3].message);
}

TEST_F(Logs, DebugLogTakesSevereRecordsAndWithDebugAll)
{
    testing::internal::CaptureStdout();
    LogManager::log(LogLevel::Info, L"hidden");
    LogManager::log(LogLevel::Crash, L"shown");
    LogManager::log(static_cast<LogLevel>(9), L"odd");
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(
        std::regex_match(debugLog(root.path()), std::wregex(L"\\d.* Crash: shown\r\n\\d.* Unknown level: odd\r\n")));

    // Creating the settings took three queries of the switch, each record one: the 17th reads it anew.
    setConfig(L"Debug", 1);
    for (int record = 7; record <= 17; ++record)
        LogManager::log(LogLevel::Info, L"record %d", record);
    EXPECT_TRUE(debugLog(root.path()).ends_with(L" Info: record 17\r\n"));
    EXPECT_EQ(std::wstring::npos, debugLog(root.path()).find(L"record 16"));
    LogManager::resetSettings();
    EXPECT_TRUE(LogManager::settings().eventLog[0]);
    EXPECT_FALSE(LogManager::settings().console[1]);
    EXPECT_TRUE(LogManager::settings().console[2]);
}

TEST_F(Logs, EventSourceIsRegisteredOnceAndAnExistingLogKeepsItsSettings)
{
    const std::wstring services = L"System\\CurrentControlSet\\Services\\EventLog\\Kelvo";
    const auto number = [&](const std::wstring& key, const wchar_t* name) {
        DWORD value = ~0u;
        registry::lookup(HKEY_LOCAL_MACHINE, key, name, value, 0);
        return value;
    };
    EventLog().report(LogLevel::Error, std::wstring(100'000, L'x'));
    EXPECT_EQ(0x800000u, number(services, L"MaxSize"));
    EXPECT_EQ(0u, number(services, L"Retention"));
    EXPECT_EQ(7u, number(services + L"\\mendkit_logging_test", L"TypesSupported"));
    EXPECT_EQ(root.path() + L"\\admin\\bin64\\eventmsg.dll",
        registry::getstr(HKEY_LOCAL_MACHINE, services + L"\\mendkit_logging_test", L"EventMessageFile", 0));

    registry::set(registry::open(HKEY_LOCAL_MACHINE, services, KEY_WRITE).get(), L"MaxSize", 5);
    EXPECT_NE(nullptr, EventLog().handle());
    EXPECT_EQ(5u, number(services, L"MaxSize"));
}

TEST(ExecuteContext, IsFoundByOtherModulesThroughTheExport)
{
    // Offsets that modules built by another compiler rely on.
    static_assert(offsetof(LogSettings, eventLog) == 6 && offsetof(LogSettings, handlers) == 16);
    static_assert(offsetof(LogSettings, consoleUsed) == 40 && offsetof(ExecuteContext, logSettings) == 16);
    RecordingHandler first, second;
    const auto symbol = reinterpret_cast<ExecuteContext**>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(nullptr), "m_ExecuteContext_4D93FADE_7B9E_4286_AE07_54AF471F7E22")));
    ASSERT_NE(nullptr, symbol);
    ASSERT_EQ(&ExecuteContext::get(), *symbol);
    EXPECT_EQ(1, (*symbol)->references);
    const LogHandlerList& list = (*symbol)->logSettings->handlers;
    LogManager::addHandler(&first);
    EXPECT_EQ(3u, list.count);
    LogManager::removeHandler(&first);
    ASSERT_EQ(1u, list.count);
    EXPECT_EQ(&second, list.first->handler);
    EXPECT_EQ(list.first, list.last);
}
