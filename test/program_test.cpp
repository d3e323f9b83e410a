// Tests of whole runs of the program: standard output, exit code and log.

#include "config/pipe/pipe_server_facts.h"
#include "devpanel/pipe_service.h"
#include "test/hidden_console.h"
#include "test/json_document.h"
#include "test/privileges.h"
#include "test/program.h"
#include "test/replaced_import.h"
#include "test/stress.h"
#include "test/text_pattern.h"
#include "test/usage.h"

#include <sddl.h>

#include <algorithm>
#include <fstream>
#include <thread>

namespace {

/// The pattern of a log record's time stamp, process id and thread id.
const std::wstring stamp = L"@@@@/@@/@@ @@:@@:@@.@@@ # # ";

/// Runs the program with the stand-in for the panel and with concurrent processes.
class Program : public ProgramRun
{
protected:
    /// Checks that a run has ended with code 0 and a complete document, or with code 1 and a complete failure.
    /// @return whether the code is 0
    static bool hasAnswered(const ChildResult& result)
    {
        const bool isDocument = !jsonDocument(result.output).isNull();
        const bool isFailure = result.output.find("\n   at (vconsoleapp::run line 117) ") != std::string::npos &&
                               result.output.find_first_of("{[") != 0;
        EXPECT_TRUE(result.exitCode == 0 ? isDocument : result.exitCode == 1 && isFailure)
            << result.exitCode << result.output;
        return result.exitCode == 0;
    }

    /// Starts a run on another thread. Returns when the run has connected to the pipe.
    std::thread startRun(const wchar_t* pipe, const wchar_t* command, ChildResult& result) const
    {
        setConfig(L"zrmpipe", pipe);
        std::thread running([=, &result] { result = run(command); });
        while (isFree(pipe))
            Sleep(1);
        return running;
    }

    std::mt19937 random = seeded();
    const std::wstring panel = panelRoot();
};

BOOL WINAPI failToOpenToken(HANDLE, DWORD, HANDLE*)
{
    return FALSE;
}

std::string statusOf(const std::string& name, const std::string& status)
{
    return "{\r\n\t\"name\" : \"" + name + "\",\r\n\t\"status\" : \"" + status + "\"\r\n}\r\n";
}

} // namespace

TEST_F(Program, ReportsTheStatusOfRealServices)
{
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)),
        service(OpenServiceW(manager.get(), L"KelvoSQLServer", SERVICE_CHANGE_CONFIG));
    const struct
    {
        std::string name;
        DWORD sqlServerStartType;
        std::string status;
    } rows[] = {{kit::isWine() ? "PlugPlay" : "RpcSs", SERVICE_DISABLED, "running"},
        {"KelvoSQLServer", SERVICE_DISABLED, "disabled"}, {"KelvoSQLServer", SERVICE_DEMAND_START, "stopped"},
        {"no_such_service", SERVICE_DEMAND_START, "invalid"}};
    for (const auto& [name, startType, status] : rows) {
        ChangeServiceConfigW(service.get(), SERVICE_NO_CHANGE, startType, SERVICE_NO_CHANGE, nullptr, nullptr,
            nullptr, nullptr, nullptr, nullptr, nullptr);
        const ChildResult result = run(L"--get-service-status --name=" + std::wstring(name.begin(), name.end()));
        EXPECT_EQ(statusOf(name, status), result.output);
        EXPECT_EQ(0u, result.exitCode);
    }
    EXPECT_EQ(L"", root.log()) << "the debug log is off and there was no failure";
}

TEST_F(Program, WritesFixedTextsAndExitCodes)
{
    const std::string list = "Possible parameters:\r\n    --";
    const struct
    {
        std::wstring arguments;
        std::uint32_t exitCode;
        std::string output; // of a failure, only its beginning
    } rows[] = {{L"", 1, usage}, {L"--help --name=x", 0, usage},
        {L"--bogus", 1, "command --bogus" + notSupported + "\r\n   at ("},
        {L"\"--db-password=a b\"", 1, "command --db-password=*" + notSupported},
        {L"--Help", 1, "command --Help" + notSupported},
        {L"--get-service-status", 1, "Missing required parameter --name. " + list + "name\r\n   at ("},
        {L"--get-service-status --name=x --zeta --alpha=1", 1,
            "Unexpected parameter --alpha. " + list + "name\r\n   at (Params::check line 105)\r\n"},
        {L"--reboot", 1, "Missing required parameter --timeout. " + list + "timeout\r\n"},
        {L"--get-service-status --name=\x416\xd83d\xde00\x1 --internal-package-name=x", 0,
            statusOf("\xd0\x96\xf0\x9f\x98\x80\\u0001", "invalid")},
        {L"--get-service-status --name=a --name=b=c", 0, statusOf("b=c", "invalid")},
        {L"--get-service-status --NAME=x", 1, "Missing required parameter --name. "},
        {L"--get-service-status --name=\xd83d", 0, statusOf("\xef\xbf\xbd", "invalid")}};
    for (const auto& [arguments, exitCode, output] : rows) {
        const ChildResult result = run(arguments);
        const bool isWhole = result.exitCode == 0 || arguments.empty();
        EXPECT_EQ(output, isWhole ? result.output : result.output.substr(0, output.size()));
        EXPECT_EQ(exitCode, result.exitCode);
        EXPECT_EQ(std::string::npos, result.output.find("a b")) << "the password is visible";
    }
}

TEST_F(Program, LogsStartResultAndEndOfACommand)
{
    setConfig(L"Debug", 1);
    run(L"--get-service-status --name=no_such_service --internal-package-name=x");
    run(L"--get-service-status --name= --db-password=\"s 3\"");
    const std::wstring log = root.log();
    const std::wstring line = L"'\"~mendkit.exe\" --get-service-status --name=";
    EXPECT_TRUE(fits(log,
        L"\xfeff" + stamp + L"Info: Start command: " + line + L"no_such_service --internal-package-name=x'\r\n" +
            stamp + L"Result: {\n\t\"name\" : \"no_such_service\",\n\t\"status\" : \"invalid\"\n}\n\r\n" + stamp +
            L"Info: End command " + line + L"no_such_service --internal-package-name=x' with code: 0\r\n" + stamp +
            L"Info: Start command: " + line + L" --db-password=*'\r\n" + stamp +
            L"Error: Unexpected parameter --db-password. Possible parameters:\n    --name\n   at "
            L"(Params::check line 105)\n   at (vconsoleapp::start line 95) Unable to execute console "
            L"command: '--get-service-status'\n   at (vconsoleapp::run line 117) Unable to execute command: " +
            line + L" --db-password=*'\r\n"))
        << testing::PrintToString(log);
}

TEST_F(Program, GoesOnWithoutTheMutexesThatAStrangerKeeps)
{
    setConfig(L"Debug", 1);
    SECURITY_ATTRIBUTES others{sizeof others, nullptr, FALSE};
    ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"O:WDD:(A;;0x1f0001;;;WD)", SDDL_REVISION_1, &others.lpSecurityDescriptor, nullptr);
    const UniqueLocalMemory memory(others.lpSecurityDescriptor);
    const Privileges privileges; // to name another owner
    const std::wstring names[] = {L"kelvolog_debug_mutex", L"Global\\{F485C63C-FF60-4c1a-A4BF-A3958C9F3D32}"};
    std::wstring expected;
    for (const bool isForeign : {false, true}) {
        UniqueHandle mutexes[2];
        for (const std::size_t at : {0, 1})
            mutexes[at].reset(CreateMutexW(isForeign ? &others : nullptr, TRUE, names[at].c_str()));
        ChildResult result{};
        std::thread running([&] { result = run(L"--get-service-status --name=none"); });
        if (isForeign) {
            running.join(); // with the mutexes still held
        } else {
            Sleep(3000);
            EXPECT_EQ(L"", root.log()) << "a mutex of the own user is waited for without a time-out";
        }
        for (const UniqueHandle& mutex : mutexes)
            ReleaseMutex(mutex.get());
        if (!isForeign)
            running.join();
        EXPECT_EQ(0u, result.exitCode);
        expected += (isForeign ? L"" : L"\xfeff") + stamp + L"Info: Start command~\r\n";
        for (const std::wstring& name : names)
            expected += isForeign ? stamp + L"Warning: Another account keeps the mutex '" + name + L"'.~\r\n" : L"";
        expected += stamp + L"Result:~" + stamp + L"Info: End command~ with code: 0\r\n";
    }
    EXPECT_TRUE(fits(root.log(), expected)) << testing::PrintToString(root.log());
}

TEST_F(Program, ReportsAFailureWithoutWaitingForTheUtility)
{
    const std::wstring utility = root.path() + L"\\admin\\bin\\send-error-report", var = root.path() + L"\\var",
                       record = var + L"\\devpanel.log";
    CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (utility + L".exe").c_str(), TRUE);
    CreateDirectoryW(var.c_str(), nullptr);
    std::ofstream((var + L"\\update_ticket").c_str()) << " t1\n";
    setConfig(L"PRODUCT_DATA_D", root.path());
    run(L"--bogus \"--db-password=a b\"");
    const ULONGLONG begun = GetTickCount64();
    std::string report;
    while (report.find("</error>\r\n\r\n") == std::string::npos && GetTickCount64() - begun < 10'000) {
        Sleep(20);
        report = readFile(record);
    }
    EXPECT_TRUE(fits(oneLine(report),
        std::string(
            "send-error-report backend<error>~<datetime>@@@@@@@@T@@@@@@</datetime><summary>command --bogus not "
            "supported. Possible commands:</summary>~line 117) Unable to execute command: ~</message>"
            "~mendkit.exe\" --bogus --db-password=*</command_line>~<update_ticket>t1</update_ticket>~")))
        << report;
    EXPECT_EQ(std::string::npos, report.find("a b")) << "the password is visible";

    std::ofstream((utility + L".script").c_str()) << "sleep 10000";
    const ULONGLONG again = GetTickCount64();
    UniqueFile reader, writer;
    CreatePipe(reader.receive(), writer.receive(), nullptr, 1 << 20); // holds the whole output
    const HANDLE own = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, writer.get());
    const std::wstring longArgument(30'000, L'x'); // the report exceeds the buffer of the utility's pipe
    EXPECT_EQ(1u, run(L"--bogus " + longArgument, false).exitCode);
    SetStdHandle(STD_OUTPUT_HANDLE, own);
    writer.reset();
    char buffer[1024];
    for (DWORD count = 0; ReadFile(reader.get(), buffer, sizeof buffer, &count, nullptr);) {
    }
    EXPECT_LT(GetTickCount64() - again, 8'000u) << "waited for the utility, or the utility inherited the output";
}

TEST_F(Program, RunsThePanelsUtilities)
{
    setConfig(L"SendFeedback", L"false"); // reports would be recorded too
    EXPECT_NE(
        std::string::npos, run(L"--get-disk-space").output.find("value=zrmpipe\r\n   at (registry::getstr line"));
    setConfig(L"zrmpipe", L"missing");
    EXPECT_NE(std::string::npos,
        run(L"--reboot --timeout=5").output.find(" at Unable to connect to pipe \\\\.\\pipe\\missing"));
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    DeleteFileW((panel + L"\\var\\devpanel.log").c_str());
    ASSERT_EQ(0u, runChild(devpanel, L"ensure").exitCode);
    for (const wchar_t* command :
        {L"--free-system-resources", L"--reboot --timeout=-1s", L"--repair-kelvo-sql-server"})
        EXPECT_TRUE(hasAnswered(run(command)));
    EXPECT_EQ(
        "websrvmng --restart-vhosts-app-pools\r\nshutdown --reboot --timeout=4294967295\r\nmysqlmng_adm --repair\r\n",
        readFile(panel + L"\\var\\devpanel.log"));
}

TEST_F(Program, WritesEveryCharacterOfAUtilitysOutputAndNoticesLostOnes)
{
    setConfig(L"SendFeedback", L"false");
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    ASSERT_EQ(0u, runChild(devpanel, L"ensure").exitCode);
    const std::wstring script = panel + L"\\admin\\bin\\sysinfo.script";
    std::ofstream(script.c_str()) << "hex 61\nhex 0\nout b\nexit 3\n";
    const std::string expected = "Execute sysinfo loadavg failed with error code 3: a\xef\xbf\xbd"
                                 "b\r\n\r\n   at (execKelvoUtil line ";
    EXPECT_EQ(expected, run(L"--get-system-resources").output.substr(0, expected.size()));
    DeleteFileW(script.c_str());

    if (!kit::isWine()) // Windows has no file that is always full
        return;
    for (const wchar_t* command : {L"--help", L"--get-service-status --name=none"}) {
        vexecutil child;
        child.path = builtProgram(L"app\\mendkit.exe");
        child.arguments = command;
        child.stdoutFile = L"Z:\\dev\\full";
        startPatiently(child);
        EXPECT_TRUE(child.waitForExit(50'000));
        EXPECT_EQ(1u, child.exitCode()) << "the text is lost: " << testing::PrintToString(command);
    }
}

TEST_F(Program, ShowsTextAtAConsoleWhateverItsCodePage)
{
    HiddenConsole console; // under Wine with code page 437
    ASSERT_TRUE(console) << GetLastError();
    console.clear();
    EXPECT_EQ(0u, run(L"--get-service-status --name=\x416\x20ac", false).exitCode);
    EXPECT_EQ(0u, run(L"--help", false).exitCode);
    const std::wstring screen = console.text(8);
    EXPECT_EQ(
        L"{|        \"name\" : \"\x416\x20ac\",|        \"status\" : \"invalid\"|}||usage: mendkit [options] ...|||",
        screen)
        << testing::PrintToString(screen);
}

TEST_F(Program, BelievesARunningServiceOfThePanelAtAPipeOfItsAccount)
{
    if (!kit::isWine())
        GTEST_SKIP() << "SYSTEM owns this service's pipe, which decides; other accounts: Pipe.ServiceAccounts";
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    const wchar_t* arguments[] = {L"of_a_service"};
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)),
        service(OpenServiceW(manager.get(), L"KelvoSQLServer", SERVICE_START | SERVICE_STOP | SERVICE_CHANGE_CONFIG));
    const auto configure = [&](const wchar_t* account) {
        EXPECT_TRUE(ChangeServiceConfigW(service.get(), SERVICE_NO_CHANGE, SERVICE_DEMAND_START, SERVICE_NO_CHANGE,
            nullptr, nullptr, nullptr, nullptr, account, nullptr, nullptr));
    };
    configure(nullptr);
    ASSERT_TRUE(StartServiceW(service.get(), 1, arguments)) << GetLastError();
    ASSERT_TRUE(becomesFree(arguments[0]));
    setConfig(L"zrmpipe", arguments[0]);
    EXPECT_TRUE(hasAnswered(run(L"--get-disk-space")));
    setConfig(L"PRODUCT_ROOT_D", root.path());
    EXPECT_EQ(1u, run(L"--get-disk-space").exitCode) << "its image does not lie in the installation directory";

    // Where its token cannot be opened, the account that it is configured for counts.
    configure(L"NT AUTHORITY\\LocalService");
    ASSERT_TRUE(becomesFree(arguments[0]));
    const UniqueFile pipe(CreateFileW((L"\\\\.\\pipe\\" + std::wstring(arguments[0])).c_str(), GENERIC_READ, 0,
        nullptr, OPEN_EXISTING, 0, nullptr));
    const ReplacedImport token("OpenProcessToken", failToOpenToken);
    EXPECT_EQ(Con::Known::yes, Con::PipeServerFacts(pipe.get()).runsAs(identity::Sid::parse(L"LS")));
    EXPECT_EQ(Con::Known::unknown, Con::PipeServerFacts(pipe.get()).runsAs(identity::Sid::parse(L"NS")));
    configure(L"LocalSystem");
    SERVICE_STATUS status;
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
}

TEST_F(Program, EndsWhenTheManagementServiceIsKilledInMidQuery)
{
    setConfig(L"SendFeedback", L"false");
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    const wchar_t *const pipe = L"killed", *const silence = L"60"; // milliseconds per query; a command makes two
    auto service = serve(silence, pipe);
    int answers = 0, failures = 0;
    while (failures < rounds(3, 200) && !HasFailure()) {
        ChildResult result{};
        std::thread command = startRun(pipe, L"--get-disk-space", result);
        Sleep(random() % 160);
        const ULONGLONG killed = GetTickCount64();
        terminate(*service);
        service = serve(silence, pipe);
        command.join();
        EXPECT_LT(GetTickCount64() - killed, 20'000u) << "it waits for the time-out";
        if (hasAnswered(result)) {
            ++answers;
            EXPECT_EQ(
                std::string(panel.begin(), panel.begin() + 3), jsonDocument(result.output)[0]["volume"].asString());
        } else {
            ++failures;
            EXPECT_EQ(0u, result.output.find("Pipe is finished\r\n   at (vpipechannel::client::query line 252)"))
                << result.output;
        }
    }
    terminate(*service);
    figure(failures, "commands whose management service was killed and started again in mid-query: they failed");
    figure(answers, "commands whose management service was killed when they had their replies: they answered");
}

TEST_F(Program, RunsWithAnyBytesInItsSettings)
{
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    std::wstring pipe;
    config::lookup(L"zrmpipe", pipe);
    const wchar_t* const names[] = {L"PRODUCT_ROOT_D", L"PRODUCT_DATA_D", L"SendFeedback", L"Debug",
        L"log_debug_enabled", L"log_util_exec_enabled", L"CrashDumpsEnabled", L"CrashDumpsLocation",
        L"CrashDumpsMaxCount", L"PipeConnectTryCount", L"zrmpipe"};
    const int count = rounds(10, 500);
    for (int round = 0; round < count && !HasFailure(); ++round) {
        ASSERT_EQ(0u, runChild(devpanel, L"ensure").exitCode);
        for (const wchar_t* name : names) {
            const std::string bytes = randomBytes(random, 8);
            const DWORD types[] = {REG_SZ, REG_EXPAND_SZ, REG_DWORD, random() % 13};
            RegSetValueExW(registry::open(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE | KEY_WOW64_32KEY).get(),
                name, 0, types[random() % 4], reinterpret_cast<const BYTE*>(bytes.data()),
                static_cast<DWORD>(bytes.size()));
        }
        const bool hasPipe = random() % 4 != 0; // the pipe's name is the only value that both commands need
        if (hasPipe)
            setConfig(L"zrmpipe", pipe);
        const ULONGLONG begun = GetTickCount64();
        EXPECT_EQ(hasPipe, hasAnswered(run(random() % 2 ? L"--get-disk-space" : L"--get-system-resources")));
        EXPECT_LT(GetTickCount64() - begun, 10'000u);
    }
    figure(count, "runs with random types and bytes in all settings");
}

TEST_F(Program, CleansTheSameTreeTwiceAtOnce)
{
    ASSERT_EQ(0u, runChild(devpanel, L"install").exitCode);
    const std::wstring temp = panel + L"\\tmp", aps = temp + L"\\aps", kept = temp + L"\\kept";
    const int count = rounds(1, 20), files = rounds(1'000, 4'000);
    for (int round = 0; round < count && !HasFailure(); ++round) {
        for (const std::wstring& directory : {temp, aps, aps + L"\\tree", kept})
            CreateDirectoryW(directory.c_str(), nullptr);
        for (int file = 0; file < files; ++file)
            std::ofstream((aps + (file % 2 ? L"\\tree\\" : L"\\") + std::to_wstring(file)).c_str());
        std::ofstream((kept + L"\\file").c_str()) << "x"; // outside of the cleaned directories
        ChildResult results[2];
        const auto service = serve(L"0", L"one"), other = serve(L"0", L"two");
        std::thread first = startRun(L"one", L"--free-disk-space", results[0]);
        startRun(L"two", L"--free-disk-space", results[1]).join();
        first.join();
        EXPECT_TRUE(hasAnswered(results[0]) && hasAnswered(results[1]));
        EXPECT_TRUE(RemoveDirectoryW(aps.c_str())) << "the directory itself must stay and be empty";
        EXPECT_EQ("x", readFile(kept + L"\\file"));
        terminate(*service);
        terminate(*other);
    }
    figure(2LL * count, "cleanings, two at a time over one tree of 4,000 files");
}

TEST_F(Program, KeepsLinesWholeWhenManyProcessesWriteOneLog)
{
    setConfig(L"Debug", 1);
    constexpr int batch = 40;
    const int count = batch * rounds(1, 25);
    for (int begun = 0; begun < count; begun += batch) {
        std::vector<std::thread> callers;
        for (int caller = 0; caller < batch; ++caller)
            callers.emplace_back([] { EXPECT_EQ(0u, run(L"--get-service-status --name=none").exitCode); });
        for (std::thread& caller : callers)
            caller.join();
    }
    const std::wstring log = root.log();
    EXPECT_TRUE(log.starts_with(L'\xfeff'));
    std::size_t begin = 1;
    for (std::size_t end = 0; (end = log.find(L"\r\n", begin)) != std::wstring::npos; begin = end + 2) {
        const std::wstring record = log.substr(begin, end - begin);
        EXPECT_TRUE(fits(record, stamp + L"Info: ~") || fits(record, stamp + L"Result: ~"))
            << testing::PrintToString(record);
    }
    EXPECT_EQ(log.size(), begin) << "the last record is incomplete";
    EXPECT_EQ(3 * count, std::count(log.begin(), log.end(), L'\r'));
    figure(count, "processes in batches of 40 writing one debug log: each record whole, one byte-order mark");
}
