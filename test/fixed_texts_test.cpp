// Texts, line numbers and names that are part of the interface with the panel's log readers; do not correct. Some
// texts are misspelt, some line numbers are not those of the source, and some names belong to no function.

#include "app/params.h"
#include "app/vconsoleapp.h"
#include "config/management_service/kelvo_srv_client.h"
#include "logging/crash/crash_dump.h"
#include "logging/crash/crash_dump_info.h"
#include "logging/sink/event_log.h"
#include "runtime/module.h"
#include "runtime/operation/span.h"
#include "runtime/path.h"
#include "runtime/text/code_page.h"
#include "system/default_system_helper.h"
#include "system/panel/panel_utility.h"
#include "system/panel/util_exec_log.h"
#include "test/child_process.h"
#include "test/failure.h"
#include "test/file_opens.h"
#include "test/recording_handler.h"
#include "test/replaced_import.h"
#include "test/sandbox.h"
#include "test/scripted_pipe.h"
#include "test/text_pattern.h"

#include <functional>
#include <memory>
#include <set>

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

struct SilentServiceLog : IServiceLog
{
    void info(const std::wstring&) noexcept override {}
    void warning(const std::wstring&) noexcept override {}
    void error(const vexception&) noexcept override {}
};

/// The calls of the replaced imports.
std::vector<std::string> calls;

HANDLE WINAPI failToRegister(const wchar_t*, const wchar_t*)
{
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return nullptr;
}

BOOL WINAPI failToReport(HANDLE, WORD, WORD, DWORD, PSID, WORD, DWORD, const wchar_t** texts, void*)
{
    calls.push_back(toNarrow(texts[0], utf8CodePage));
    return FALSE;
}

BOOL WINAPI closeLog(HANDLE)
{
    calls.emplace_back("CloseEventLog");
    return TRUE;
}

BOOL WINAPI deregister(HANDLE)
{
    calls.emplace_back("DeregisterEventSource");
    return TRUE;
}

// Found by name, because the import is replaced.
const auto systemCreateKey = reinterpret_cast<decltype(&RegCreateKeyExW)>(
    reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"advapi32.dll"), "RegCreateKeyExW")));

LSTATUS WINAPI createKey(HKEY root, const wchar_t* name, DWORD reserved, wchar_t* type, DWORD options, REGSAM access,
    SECURITY_ATTRIBUTES* security, HKEY* key, DWORD* disposition)
{
    calls.push_back(toNarrow(name, utf8CodePage));
    EXPECT_EQ(DWORD{REG_OPTION_NON_VOLATILE}, options);
    return systemCreateKey(root, name, reserved, type, options, access, security, key, disposition);
}

DWORD WINAPI failToName(HMODULE, wchar_t*, DWORD)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}

BOOL WINAPI failToDump(HANDLE, DWORD, HANDLE, int, void*, void*, void*)
{
    SetLastError(0x80070070); // an HRESULT with ERROR_DISK_FULL
    return FALSE;
}

FARPROC WINAPI findFailingDump(HMODULE, const char*)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(failToDump));
}

/// Records the names and tags of all spans.
class RecordingTracer : public ITracer
{
public:
    RecordingTracer() { setTracer(this); }
    ~RecordingTracer() override { setTracer(nullptr); }
    std::unique_ptr<ISpan> start(const RaiseSite& site) override
    {
        seen.insert(site.function);
        return std::make_unique<RecordingSpan>(seen);
    }

    std::set<std::string> seen;

private:
    struct RecordingSpan : ISpan
    {
        explicit RecordingSpan(std::set<std::string>& seen_) : seen(seen_) {}
        void fail(const std::string&) override {}
        void tag(const std::string& key, const std::string& value) override { seen.insert(key + "=" + value); }
        std::set<std::string>& seen;
    };
};

class FixedTexts : public RegistrySandbox
{
protected:
    /// Expects that the text of the call's failure, with its trail, matches the pattern (test/text_pattern.h).
    static void expect(const char* name, const std::wstring& pattern, const std::function<void()>& call)
    {
        const std::wstring text = failureOf(call);
        EXPECT_TRUE(fits(text, pattern)) << name << "\nexpected: " << testing::PrintToString(pattern)
                                         << "\ngot:      " << testing::PrintToString(text);
    }

    RecordingHandler records;
    const ProductRoot root;
};

} // namespace

TEST_F(FixedTexts, OfTheCommandLine)
{
    const ParameterMap stray{{L"--stray", L""}};
    const Params params(stray);
    const wchar_t* const arguments[] = {L"mendkit", L"--pwd=x"};
    expect("a missing parameter",
        L"Missing required parameter --a. Possible parameters:\n    --a\n    --c\n    [--b]\n   at (Params::check "
        L"line 72)",
        [&] { params.check(L"--a\0--c\0"sv, L"--b\0"sv); });
    expect("an unexpected parameter",
        L"Unexpected parameter --stray. Possible parameters:\n    [--b]\n   at (Params::check line 105)",
        [&] { params.check({}, L"--b\0"sv); });
    expect("a parameter that is not there",
        L"Missing required parameter --a. \n   at (Params::reportMissingParameter line 39)",
        [&] { params.get(L"--a"); });
    expect("a parameter that its caller misses",
        L"Missing required parameter --a. Possible parameters:\n    --a\n    [--b]\n   at "
        L"(Params::reportMissingParameter line 39)",
        [&] { params.reportMissingParameter(L"--a", L"--a\0"sv, L"--b\0"sv); });
    expect("no handler",
        L"Invalid command --pwd=*\n   at (vconsoleapp::go line 68)\n   at (vconsoleapp::start line 95) "
        L"Unable to execute console command: '--pwd=*'",
        [&] { vconsoleapp().start(2, arguments); });
    expect("no usage",
        L"Missing command parameter\n   at (vconsoleapp::usage line 100)\n   at (vconsoleapp::start line 95) "
        L"Unable to execute console command: ''",
        [&] { vconsoleapp().start(1, arguments); });
    expect("an unknown command",
        L"command  not supported. Possible commands:\nx\n   at (vconsoleapp::cmdNotSupported line 56)",
        [&] { vconsoleapp().cmdNotSupported(L"x"); });
}

TEST_F(FixedTexts, OfUtilities)
{
    expect("no installation directory",
        L"~\n   at (startKelvoUtilInternal line #) Unable to call startKelvoUtilInternal(u, \"--pwd=*\")"
        L"\n   at (execKelvoUtil line 120) Unable to executre command: u \"--pwd=*\""
        L"\n   at (execKelvoUtil line 127) Unabke to call execKelvoUtil(u \"--pwd=*\"",
        [] { execKelvoUtil(L"u", L"--pwd=x", nullptr, true, nullptr, false); });
    setConfig(L"log_util_exec_enabled", L"no number");
    writeToUtilExecLog(true, L"u", L"", 0);
    const std::wstring record = records.records.back().message;
    EXPECT_TRUE(fits(record, L"~\n   at (writeToUtilExecLog line #) Unabale to call writeToUtilExecLog()"s))
        << record;
}

TEST_F(FixedTexts, OfSpansOfUtilities)
{
    vserializer::writer answer;
    answer.text(root.path());
    ScriptedPipe service({{serviceReply(answer.message())}});
    setConfig(L"zrmpipe", service.name());
    const std::wstring utility = root.path() + L"\\admin\\bin\\u";
    CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (utility + L".exe").c_str(), TRUE);
    std::ofstream((utility + L".script").c_str()) << "exit 0";
    const RecordingTracer tracer;
    EXPECT_EQ(L"nothing thrown", failureOf([] { execKelvoUtil(L"u", L"x", nullptr, true, nullptr, false); }));
    for (const std::string& text : {"Executre command"s, "Start command"s,
             "if_error=Unabale to start command: " + toNarrow(utility, ansiCodePage) + ".exe x"})
        EXPECT_TRUE(tracer.seen.contains(text)) << text << "\nseen: " << testing::PrintToString(tracer.seen);
}

TEST_F(FixedTexts, OfTheManagementService)
{
    ScriptedPipe service(ScriptedPipe::Script{});
    setConfig(L"zrmpipe", service.name());
    SilentServiceLog log;
    expect("a service that closes the pipe",
        L"Pipe is finished\n   at (vpipechannel::client::query line 252)\n   at (KelvoSrvClient::getString line #) "
        L"Unable to "
        L"call getString(x)",
        [&] { KelvoSrvClient(log).getString(L"x"); });
}

TEST_F(FixedTexts, OfTheRuntime)
{
    constexpr unsigned noCodePage = 99'999;
    expect("wide to narrow",
        L"~ (Error code 87) at Maps a wide-character (Unicode) string to a character stringz\n   at (~ line #)",
        [] { toNarrow(L"x", noCodePage); });
    expect("narrow to wide",
        L"~ (Error code 87) at Maps a character string to a wide-character (Unicode) string failed\n   at (~ line #)",
        [] { toWide("x", noCodePage); });
    expect("a path without a root", L"~\n   at (VFileName::root line #)", [] { path::root(L"relative"); });
    const ReplacedImport name("GetModuleFileNameW", failToName);
    expect("no module name", L"~ at GetModuleFileName\n   at (moduleName line #)", [] { moduleFileName(); });
}

TEST_F(FixedTexts, OfFilesAndDirectories)
{
    KelvoRepairAdapter::DefaultSystemHelper helper;
    const std::wstring file = root.path() + L"\\file";
    const UniqueFile busy(CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, CREATE_NEW, 0, nullptr));
    expect("a directory that cannot be read",
        L"~ at Unable to read directory (" + file + L")\n   at (RunTime::File::findFirstFile line #)\n   at (~",
        [&] { helper.listDirectory(file, 2); });
    expect("a file that cannot be removed",
        L"~ at Unable to remove path (" + file + L")\n   at (RunTime::File::remove line #)\n   at (~",
        [&] { helper.removeFile(file); });
}

TEST_F(FixedTexts, OfCrashDumps)
{
    setConfig(L"CrashDumpsEnabled", 0);
    CrashDumpInfo info;
    expect("dumps that are off", L"Crash dumping does not enabled\n   at (CrashDumpInfo::getFileName line 688)",
        [&] { info.getFileName(); });

    const ReplacedImport find("GetProcAddress", findFailingDump);
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};
    const std::wstring file = root.path() + L"\\x.dmp";
    const FileOpens opens;
    internalDumpMiniDump(file, &pointers, MiniDumpNormal);
    EXPECT_EQ(L"1f01ff 1 1 200080 O:BAD:P(A;;FA;;;SY)(A;;FA;;;BA)", FileOpens::of(file));
    LogManager::log(LogLevel::Info, L"next");
    const std::wstring failure = records.records.front().message;
    EXPECT_TRUE(
        fits(failure, L"~ (Error code 112) at Unable to generate dump file\n   at (internalDumpMiniDump line 740)"
                      L"\n   at (internalDumpMiniDump line #) Unable to call internalDumpMiniDump(" +
                          file + L")"))
        << testing::PrintToString(failure);
}

TEST_F(FixedTexts, OfTheEventLog)
{
    setConfig(L"PRODUCT_ROOT_D", root.path());
    const ReplacedImport close("CloseEventLog", closeLog), other("DeregisterEventSource", deregister);
    {
        const ReplacedImport registration("RegisterEventSourceW", failToRegister);
        expect("no event source",
            L"~ (Error code 1722) at RegisterEventSource\n   at (LogManager::getEventLog line 415)",
            [] { EventLog().handle(); });
    }
    EventLog log;
    {
        calls.clear();
        const ReplacedImport report("ReportEventW", failToReport);
        log.report(LogLevel::Error, L"x\0y"s);
        EXPECT_EQ((std::vector<std::string>{"x\xef\xbf\xbdy", "CloseEventLog"}), calls)
            << "the whole text, and the call that closes a source that failed";
    }
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SYSTEM");
    calls.clear();
    const ReplacedImport create("RegCreateKeyExW", createKey);
    EXPECT_NE(nullptr, log.handle());
    const std::string parent = "\\CurrentControlSet\\Services\\EventLog\\Kelvo";
    EXPECT_EQ((std::vector<std::string>{"SYSTEM" + parent, "System" + parent + "\\fixed_texts_test"}), calls);
    const UniqueRegistryKey key = registry::open(HKEY_LOCAL_MACHINE, toWide("SYSTEM" + parent, 0), KEY_ALL_ACCESS),
                            source = registry::open(key.get(), L"fixed_texts_test", KEY_READ);
    DWORD size = 0, retention = 1, types = 0;
    registry::lookup(key.get(), L"MaxSize", size);
    registry::lookup(key.get(), L"Retention", retention);
    registry::lookup(source.get(), L"TypesSupported", types);
    EXPECT_EQ((std::vector<DWORD>{0x800000, 0, 7}), (std::vector{size, retention, types}));
    std::wstring file;
    registry::lookup(source.get(), L"EventMessageFile", file);
    EXPECT_EQ(root.path() + L"\\admin\\bin64\\eventmsg.dll", file);
    registry::set(key.get(), L"MaxSize", 1);
    EventLog().handle();
    registry::lookup(key.get(), L"MaxSize", size);
    EXPECT_EQ(1u, size) << "an existing log keeps its settings";
}
