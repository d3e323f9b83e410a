#include "system/panel/panel_utility.h"

#include "runtime/text/code_page.h"
#include "system/cleaning/machine_directories.h"
#include "system/default_system_helper.h"
#include "system/panel/answer_confirmation.h"
#include "system/panel/panel_directories.h"
#include "system/process/child_handles.h"
#include "test/child_process.h"
#include "test/failure.h"
#include "test/recording_handler.h"
#include "test/replaced_import.h"
#include "test/sandbox.h"
#include "test/scripted_pipe.h"
#include "test/text_pattern.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <thread>

namespace {

/// A panel with a scripted utility "util", and with "broken", which is not a program.
class Utility : public RegistrySandbox
{
protected:
    Utility() : service(answer(L"\\\\?\\" + root + L"/x/.././"))
    {
        CopyFileW(
            builtProgram(L"devpanel\\devutility.exe").c_str(), (root + L"\\admin\\bin\\util.exe").c_str(), TRUE);
        std::ofstream((root + L"\\admin\\bin\\broken.exe").c_str()) << "no program";
        setConfig(L"PRODUCT_ROOT_D", root);
        setConfig(L"zrmpipe", service.name());
    }

    void setScript(const std::string& script) const
    {
        std::ofstream((root + L"\\admin\\bin\\util.script").c_str()) << script;
    }

    static ScriptedPipe::Script answer(const std::wstring& text)
    {
        vserializer::writer body;
        body.text(text);
        return {{serviceReply(body.message())}};
    }

    /// The utility's output; after a failure "!" and its message.
    std::wstring run(const std::string& script, const std::string* input = nullptr, const wchar_t* name = L"util",
        const wchar_t* arguments = L"--pwd=s3 --x")
    {
        setScript(script);
        std::wstring output = L"before";
        const std::wstring failure =
            failureOf([&] { EXPECT_EQ(0u, execKelvoUtil(name, arguments, &output, true, input, false)); });
        EXPECT_EQ(std::wstring::npos, failure.find(L"s3")) << "a secret";
        return failure == L"nothing thrown" ? output : L"!" + messageIn(failure);
    }

    static std::wstring windowsDirectory()
    {
        wchar_t directory[MAX_PATH];
        GetWindowsDirectoryW(directory, MAX_PATH);
        return directory;
    }

    const std::wstring windows = windowsDirectory();
    const ProductRoot product;
    const std::wstring root = product.path();
    ScriptedPipe service;
};

/// Creates no process; notes the flags.
DWORD creationFlags = 0;
BOOL WINAPI recordFlags(const wchar_t*, wchar_t*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD flags,
    void*, const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION*)
{
    creationFlags = flags;
    return FALSE;
}

BOOL WINAPI failToWrite(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return FALSE;
}

/// WaitForSingleObject that fails for processes.
DWORD WINAPI failToWait(HANDLE object, DWORD milliseconds)
{
    return GetProcessId(object) != 0 ? WAIT_FAILED : WaitForSingleObjectEx(object, milliseconds, FALSE);
}

} // namespace

TEST_F(Utility, ReturnsItsOutputOrFailsWithItsExitCode)
{
    const std::string input(300'000, 'i');
    RecordingHandler log;
    const struct
    {
        const char* script;
        const std::string* input;
        std::wstring outcome;
    } rows[] = {{"out one\nerr two\nout three", nullptr, L"one\r\ntwo\r\nthree\r\n"}, {"sleep 50", nullptr, L""},
        {"bytes 300000", nullptr, std::wstring(300'000, L'x')}, {"read", &input, L"300000\r\n"},
        {"hex e4", nullptr, toWide("\xe4", GetACP())},
        {"out boom\nexit 3", nullptr, L"!Execute util \"--pwd=*\" --x failed with error code 3: boom\r\n"},
        {"crash", nullptr, L"!Execute util \"--pwd=*\" --x failed with error code -1073741819: "}};
    for (const auto& [script, given, outcome] : rows)
        EXPECT_EQ(outcome, run(script, given)) << script;
    EXPECT_TRUE(run("exit 0", &input).ends_with(L" at Unable to write to pipe")) << "the input is not read";
    for (const auto& [level, message] : log.records)
        EXPECT_EQ(LogLevel::Info, level) << testing::PrintToString(message);
    // A child of the utility holds its output, silent or not.
    for (const char* script : {"child 5000\nout gone", "talker 15000\nout gone"}) {
        EXPECT_NE(std::wstring::npos, run(script).find(L"gone\r\n"));
        EXPECT_EQ(LogLevel::Warning, log.records.back().level);
        EXPECT_EQ(L"The output of the utility 'util' was cut off: a process that it started still holds it",
            log.records.back().message);
        log.records.clear();
    }
    EXPECT_EQ(L"!Unable to find path of 'nosuch'", run("", nullptr, L"nosuch"));
    EXPECT_TRUE(run("", nullptr, L"broken")
            .ends_with(L"(Error code 193) at CreateProcess '\"" + root + L"\\admin\\bin\\broken.exe\" --pwd=* --x'"));
}

TEST_F(Utility, RunsToItsEndWhenReadingItsOutputFails)
{
    CreateDirectoryW((root + L"\\var").c_str(), nullptr);
    std::atomic<bool> ended = false;
    std::thread disturber([&] {
        while (!ended && !path::isFile(root + L"\\var\\devpanel.log"))
            Sleep(1); // the utility runs once it has noted something
        for (std::uintptr_t handle = 4; handle < 2000; handle += 4)
            CancelIoEx(reinterpret_cast<HANDLE>(handle), nullptr);
    });
    // More output than the pipe holds: the utility ends only if it is read on.
    EXPECT_TRUE(
        run("note begun\nsleep 500\nbytes 300000\nnote done").ends_with(L"Unable to complete pipe operation"));
    ended = true;
    disturber.join();
    EXPECT_EQ("begun\r\ndone\r\n", readFile(root + L"\\var\\devpanel.log"));

    const std::string input = "x";
    const ReplacedImport write("WriteFile", failToWrite);
    EXPECT_TRUE(run("read\nnote closed", &input).ends_with(L" at Unable to write to pipe"));
    EXPECT_TRUE(readFile(root + L"\\var\\devpanel.log").ends_with("closed\r\n")) << "it reads its input to the end";
}

TEST_F(Utility, IsLeftRunningOnlyWhenItsEndCannotBeAwaited)
{
    CreateDirectoryW((root + L"\\var").c_str(), nullptr);
    RecordingHandler log;
    {
        const ReplacedImport wait("WaitForSingleObject", failToWait);
        EXPECT_TRUE(run("sleep 500\nnote done").ends_with(L" at Lock object"));
    }
    EXPECT_EQ(LogLevel::Warning, log.records.back().level);
    EXPECT_TRUE(log.records.back().message.starts_with(L"The utility 'util' (process "));
    EXPECT_TRUE(log.records.back().message.ends_with(L" is left running: its end cannot be awaited"));
    for (int patience = 300; readFile(root + L"\\var\\devpanel.log").empty() && patience > 0; --patience)
        Sleep(10);
    EXPECT_EQ("done\r\n", readFile(root + L"\\var\\devpanel.log")) << "it was ended";
}

TEST_F(Utility, IsLoggedWithoutItsSecrets)
{
    setConfig(L"log_util_exec_enabled", 1);
    RecordingHandler log;
    run("sleep 10");
    const std::wstring start = L"@@@@/@@/@@ @@:@@:@@.@@@ # # execUtil(",
                       line = L")\t" + moduleFileName() + L"\t" + root + L"\\admin\\bin\\util.exe\t\"--pwd=*\" --x\t",
                       end = L"\n\r\n", text = product.log(L"util_exec");
    EXPECT_TRUE(fits(text, L"\xfeff" + start + L"Start" + line + end + start + L"End" + line + L"#" + end))
        << testing::PrintToString(text);
    EXPECT_EQ(L"Execute " + root + L"\\admin\\bin\\util.exe \"--pwd=*\" --x", log.records.at(0).message);
    const ReplacedImport create("CreateProcessW", recordFlags);
    run("");
    EXPECT_EQ(GetPriorityClass(GetCurrentProcess()) | CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT, creationFlags);
}

TEST_F(Utility, GetsNoStandardInputWhenThereIsNone)
{
    const HANDLE own = GetStdHandle(STD_INPUT_HANDLE);
    for (const HANDLE none : {HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
        SetStdHandle(STD_INPUT_HANDLE, none);
        ExecPipe output;
        const std::wstring noFile;
        const ChildStreams streams{nullptr, &output, nullptr, noFile, noFile, noFile, true};
        EXPECT_EQ(nullptr, standardHandles(streams).handles[0]);
    }
    SetStdHandle(STD_INPUT_HANDLE, own);
}

TEST_F(Utility, GetsNoOtherHandles)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    std::vector<UniqueHandle> events; // many, for a number that a new process does not use itself
    for (int count = 0; count < 200; ++count)
        events.emplace_back(CreateEventW(&inherit, TRUE, FALSE, nullptr));
    vexecutil child;
    child.path = root + L"\\admin\\bin\\util.exe";
    child.suspended = child.captureStdout = true;
    child.start();
    UniqueHandle copy;
    EXPECT_FALSE(DuplicateHandle(child.process.get(), events.back().get(), GetCurrentProcess(), copy.receive(), 0,
        FALSE, DUPLICATE_SAME_ACCESS));
    terminate(child);
}

TEST_F(Utility, IsFoundInItsPlaceAloneAndMayFailSilently)
{
    setScript("exit 7");
    EXPECT_EQ(7u, execKelvoUtil(L"UTIL.EXE", L"", nullptr, false, nullptr, false));
    EXPECT_EQ(~0u, execKelvoUtil(L"util", L"", nullptr, false, nullptr, true)) << "there is none in bin64";
    vexecutil relative;
    relative.path = L"util.exe";
    EXPECT_THROW(relative.start(), vosexception) << "never from the current directory or PATH";
    EXPECT_EQ(root + L"\\", KelvoRepairAdapter::DefaultSystemHelper().getKelvoRootDir());
    setConfig(L"PRODUCT_ROOT_D", L"C:\\other");
    const auto needed = neededDirectories();
    for (const std::wstring& directory : {root + L"\\", std::wstring(L"C:\\other")})
        EXPECT_EQ(
            1, std::count_if(needed.begin(), needed.end(), [&](const auto& one) { return one.path == directory; }));
}

TEST_F(Utility, ConfirmsTheDirectoriesOfAnUntrustedAnswerByTheRegistry)
{
    const std::wstring data = root + L"\\data", temp = root + L"\\admin", other = data + L" 2";
    for (const std::wstring& directory : {data, other, data + L"\\x"})
        CreateDirectoryW(directory.c_str(), nullptr);
    EXPECT_EQ(root, panel::confirmedInstallationDirectory(root + L"\\ADMIN\\..")) << "the same directory";
    const std::wstring failure = failureOf([&] { panel::confirmedInstallationDirectory(data); });
    EXPECT_EQ(L"The management service names the installation directory '" + data + L"', the registry names '" +
                  root + L"'",
        messageIn(failure));
    EXPECT_NE(L"nothing thrown", failureOf([&] { panel::confirmedInstallationDirectory(root + L"\\missing"); }));

    EXPECT_TRUE(panel::isTemporaryDirectory(temp)) << "below PRODUCT_ROOT_D";
    EXPECT_FALSE(panel::isTemporaryDirectory(root)) << "the installation directory itself";
    setConfig(L"PRODUCT_ROOT_D", root + L"\\admin");
    setConfig(L"PRODUCT_DATA_D", data);
    for (const auto& [directory, outcome] : {std::pair(data + L"\\x", true), {data, false}, {other, false},
             {data + L"\\..\\data 2", false}, {data + L"\\missing", false}, {L"", false}, {L"C:\\", false},
             {windows + L"\\temp", true}, {windows, false}, {windows + L"\\system32", false}})
        EXPECT_EQ(outcome, panel::isTemporaryDirectory(directory)) << testing::PrintToString(directory);
}

TEST_F(Utility, IsLookedForWhereTheRegistrySaysWhenOthersMayAnswer)
{
    const auto serve = [](const wchar_t* text, const std::wstring& security) {
        auto server = std::make_unique<ScriptedPipe>(answer(text), false, security);
        setConfig(L"zrmpipe", server->name());
        return server;
    };
    // The client notices at its next query that the last server has closed the pipe.
    RecordingHandler log;
    const auto disconnect = [&] {
        EXPECT_NE(L"nothing thrown", failureOf([] { panel::dumpTempDirectory(); }));
        EXPECT_EQ(LogLevel::Error, log.records.back().level);
    };
    const std::wstring usersMayWrite = L"O:BAD:(A;;GA;;;BA)(A;;GRGW;;;BU)", system = windows + L"\\system32";
    auto server = serve(windows.c_str(), usersMayWrite);
    EXPECT_EQ(L"The management service names the installation directory '" + windows + L"', the registry names '" +
                  root + L"'",
        messageIn(failureOf([] { panel::installationDirectory(); })));

    server = serve(system.c_str(), usersMayWrite);
    disconnect();
    EXPECT_EQ(system, panel::dumpTempDirectory());
    EXPECT_FALSE(panel::mayCleanDumpTempDirectory(system));
    EXPECT_EQ(LogLevel::Warning, log.records.back().level);
    EXPECT_NE(std::wstring::npos, log.records.back().message.find(L"'" + system + L"'"));

    server = serve(system.c_str(), ScriptedPipe::trustedSecurity);
    disconnect();
    panel::dumpTempDirectory();
    EXPECT_TRUE(panel::mayCleanDumpTempDirectory(system)) << "the service is trusted";

    const std::wstring literal =
        L"\\\\?\\" + root + L"\\dumps."; // the normalised path loses the prefix, and then the dot
    CreateDirectoryW(literal.c_str(), nullptr);
    CreateDirectoryW((root + L"\\dumps").c_str(), nullptr);
    server = serve(literal.c_str(), ScriptedPipe::trustedSecurity);
    disconnect();
    EXPECT_FALSE(panel::mayCleanDumpTempDirectory(panel::dumpTempDirectory()));
    EXPECT_NE(std::wstring::npos, log.records.back().message.find(L"ambiguous"));
    RemoveDirectoryW(literal.c_str()); // "rd" would look for it without the dot

    server = serve((root + L"\\ADMIN\\..\\").c_str(), usersMayWrite);
    disconnect();
    EXPECT_EQ(root, panel::installationDirectory());
}
