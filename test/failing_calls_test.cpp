// Runs every command with each possible failure of each of its calls into Windows. Unless MENDKIT_TEST_FULL is set,
// one call of each function fails, drawn at random.

#include "config/pipe/client_pipe.h"
#include "devpanel/pipe_service.h"
#include "runtime/vmutex.h"
#include "test/failing_calls.h"
#include "test/program.h"
#include "test/text_pattern.h"
#include "test/usage.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <numeric>
#include <set>

namespace fs = std::filesystem;

namespace {

const char resources[] = "{\"cpu\" : {\"last#min\" : #,\"last#min\" : #,\"last#min\" : #,\"unit\" : \"%\"},"
                         "\"memory\" : {\"free\" : #,\"total\" : #,\"used\" : #},"
                         "\"swap\" : {\"free\" : #,\"total\" : #,\"used\" : #}}",
           disks[] = "[{\"free\" : #,\"total\" : #,\"used\" : #,\"volume\" : \"C:\\\\\"}]",
           status[] = "{\"name\" : \"KelvoSQLServer\",\"status\" : \"stopped\"}";

struct Command
{
    const wchar_t* arguments;
    std::string answer; // pattern without line breaks and tabs
    std::uint32_t exitCode = 0;
    bool isVerbose = false; // logging and error reports are on
} const commands[] = {{L"--help", oneLine(usage)}, {L"--get-service-status --name=KelvoSQLServer", status},
    {L"--repair-kelvo-sql-server", status}, {L"--get-system-resources", resources},
    {L"--free-system-resources", resources}, {L"--get-disk-space", disks}, {L"--free-disk-space", disks},
    {L"--reboot --timeout=5", "{\"message\" : \"Server is going to restart\"}"},
    {L"--reboot --timeout=5", "{\"message\" : \"Server is going to restart\"}", 0, true},
    {L"--bogus", oneLine("command --bogus" + notSupported), 1, true}};

const fs::path panel = panelRoot(),
               cleaned[] = {panel / L"PrivateTemp", panel / L"tmp\\aps", L"C:\\windows\\Temp\\mk"};

constexpr wchar_t pipe[] = L"failing_calls";

/// The size and last-write time of each file.
using Files = std::map<fs::path, std::pair<std::uintmax_t, fs::file_time_type>>;

void makeFile(const fs::path& file)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << "x";
}

/// All files and directories that a command must not change. They include those in the directory of temporary files.
Files filesToKeep(const fs::path& root)
{
    Files found;
    for (const fs::path& top : {root, panel}) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
            const std::wstring path = entry.path().wstring();
            const auto holds = [&](const fs::path& directory) { return path.starts_with(directory.wstring()); };
            if (std::none_of(std::begin(cleaned), std::end(cleaned), holds) && !path.ends_with(L".log")) {
                const bool isFile = entry.is_regular_file();
                found[path] = {
                    isFile ? entry.file_size() : 0, isFile ? entry.last_write_time() : fs::file_time_type()};
            }
        }
    }
    return found;
}

/// The calls that the C++ runtime needs before the entry point. It aborts when one of them fails.
const std::set<std::string> vital{"TlsAlloc", "TlsSetValue", "DuplicateHandle"};

/// The number of the job's processes that still run.
std::size_t processesOf(HANDLE job)
{
    struct
    {
        JOBOBJECT_BASIC_PROCESS_ID_LIST list;
        ULONG_PTR more[20];
    } found{};
    EXPECT_TRUE(QueryInformationJobObject(job, JobObjectBasicProcessIdList, &found, sizeof found, nullptr));
    const ULONG_PTR* const ids = found.list.ProcessIdList;
    return static_cast<std::size_t>(std::count_if(ids, ids + found.list.NumberOfProcessIdsInList, [](ULONG_PTR id) {
        const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(id)));
        wchar_t name[MAX_PATH] = L"";
        DWORD size = MAX_PATH;
        QueryFullProcessImageNameW(process.get(), 0, name, &size);
        return !std::wstring(name).ends_with(L"conhost.exe"); // the system ends it at a later time
    }));
}

class FailingCalls : public ProgramRun, public testing::WithParamInterface<std::size_t>
{
protected:
    void SetUp() override
    {
        ProgramRun::SetUp();
        service_ = serve(L"0", pipe);
        EXPECT_EQ(0u, runChild(devpanel, L"install").exitCode);
        setConfig(L"zrmpipe", pipe);
        setConfig(L"PRODUCT_ROOT_D", root.path());
        setConfig(L"CrashDumpsEnabled", 0);
        setConfig(L"SendFeedback", command.isVerbose ? L"true" : L"false");
        setConfig(L"Debug", command.isVerbose);
        setConfig(L"log_util_exec_enabled", command.isVerbose);
        fs::copy_file(
            builtProgram(L"devpanel\\devutility.exe"), root.path() + L"\\admin\\bin\\send-error-report.exe");
        makeFile(panel / L"tmp\\kept\\file");
        makeFile(panel / L"PrivateTempest\\file");
        SetEnvironmentVariableW(L"TMP", root.path().c_str()); // filesToKeep() finds temporary files there

        const std::wstring name = L"mendkit_failing_call_" + std::to_wstring(GetCurrentProcessId());
        section_.reset(
            CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(FailingCall), name.c_str()));
        call = static_cast<FailingCall*>(MapViewOfFile(section_.get(), FILE_MAP_WRITE, 0, 0, sizeof *call));
        SetEnvironmentVariableW(FailingCall::variable, name.c_str());
    }
    ~FailingCalls() override
    {
        SetEnvironmentVariableW(L"TMP", nullptr); // the directory is removed
        if (!call)
            return;
        UnmapViewOfFile(call);
        terminate(*service_);
    }

    /// Runs the command and checks its end. @param wanted  as FailingCall::wanted @return the exit code
    std::uint32_t run(LONG wanted)
    {
        if (!becomesFree(pipe)) // on a busy machine the service may have ended, as it does after five idle seconds
            service_ = serve(L"0", pipe);
        // A connection restarts the service's idle time.
        Con::ClientOverlappedPipe().create(L"\\\\.\\pipe\\" + std::wstring(pipe), 10);
        becomesFree(pipe);
        for (const fs::path& directory : cleaned)
            makeFile(directory / L"tree" / L"file");
        const std::wstring outputFile = root.path() + L"\\output.log";
        DeleteFileW(outputFile.c_str());
        DeleteFileW(root.logFile(L"debug").c_str());
        const Files before = filesToKeep(root.path());

        *call = {};
        call->wanted = wanted;
        call->seed = static_cast<LONG>(GetParam() * 10'000);
        const UniqueHandle job(CreateJobObjectW(nullptr, nullptr));
        vexecutil child;
        child.path = builtProgram(L"test\\failing_calls.exe");
        child.arguments = command.arguments;
        child.stdoutFile = outputFile;
        child.stderrToStdout = child.suspended = true;
        startPatiently(child);
        EXPECT_TRUE(AssignProcessToJobObject(job.get(), child.process.get()));
        ResumeThread(child.thread.get());
        const bool ended = child.waitForExit(20'000);
        terminate(child);
        const std::uint32_t code = child.exitCode();

        const std::string output = readFile(outputFile);
        const std::wstring log = root.log();
        const testing::ScopedTrace trace(__FILE__, __LINE__,
            testing::Message() << "failure " << wanted << " of " << call->function
                               << (call->forEver ? " for ever" : "") << ", exit code " << code << "\n"
                               << output << testing::PrintToString(log));
        EXPECT_TRUE(ended);
        EXPECT_LE(call->handles, mostHandles);
        for (int patience = command.isVerbose ? 200 : 0; processesOf(job.get()) > 0 && patience > 0; --patience)
            Sleep(10); // the reporting utility may still run
        EXPECT_EQ(0u, processesOf(job.get()));
        EXPECT_EQ(before, filesToKeep(root.path()));
        for (const UniqueHandle& mutex : mutexes_) {
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex.get(), 5000)) << "a mutex was left locked";
            ReleaseMutex(mutex.get());
        }
        const std::string text = oneLine(output);
        if (code == 0) {
            EXPECT_TRUE(fits(text, command.answer));
        } else if (output != "Unexpected end of the program\r\n" || !vital.contains(call->function)) {
            EXPECT_EQ(1u, code);
            EXPECT_NE(0, call->handles) << "the process was terminated";
            EXPECT_TRUE(log.find(L" Error: ") != std::wstring::npos || text.find("   at (") != std::string::npos);
            EXPECT_TRUE(
                text.find(command.answer.substr(0, 8)) == std::string::npos || command.exitCode == 1 ||
                call->function == std::string("fflush")) // after a simulated failure the text is still in the buffer
                << "a part of the answer";
        }
        return code;
    }

    const Command& command = commands[GetParam()];
    FailingCall* call = nullptr;
    LONG mostHandles = 1000;

private:
    std::unique_ptr<vexecutil> service_;
    UniqueHandle section_;
    const UniqueHandle mutexes_[2] = {UniqueHandle(CreateMutexW(nullptr, FALSE, L"kelvolog_debug_mutex")),
        UniqueHandle(CreateMutexW(nullptr, FALSE, L"Global\\{F485C63C-FF60-4c1a-A4BF-A3958C9F3D32}"))};
};

} // namespace

TEST_P(FailingCalls, GiveACompleteAnswerOrAFailure)
{
    EXPECT_EQ(command.exitCode, run(0));
    for (const fs::path& directory : cleaned)
        EXPECT_EQ(command.arguments == std::wstring(L"--free-disk-space"), !fs::exists(directory / L"tree"));
    // All commands make the same calls before the entry point: only the first command's test lets them fail.
    const LONG calls = call->calls, possible = call->possible, before = GetParam() == 0 ? 0 : call->before;
    // COM keeps some handles open. The runtime may create one lock later than in the first run. A question to the
    // service control manager, which only a failing check of the pipe's server asks, leaves a connection open.
    mostHandles = call->handles + (command.isVerbose ? 50 : 2);
    std::vector<LONG> failures;
    if (_wgetenv(L"MENDKIT_TEST_FULL")) {
        failures.resize(static_cast<std::size_t>(possible - before));
        std::iota(failures.begin(), failures.end(), before + 1);
    } else { // one of each function
        std::copy_if(std::begin(call->drawn), std::end(call->drawn), std::back_inserter(failures),
            [](LONG failure) { return failure != 0; });
    }
    const auto failed =
        std::count_if(failures.begin(), failures.end(), [&](LONG failure) { return run(failure) != 0; });
    EXPECT_EQ(command.exitCode, run(0)) << "an earlier failure has a lasting effect";
    std::cout << "Figure: " << std::string(command.arguments, command.arguments + wcslen(command.arguments))
              << (command.isVerbose ? ", logged and reported" : "") << ": " << calls << " calls, " << possible
              << " failures, of them " << call->before << " before the entry point, " << failures.size() << " runs, "
              << failed << " with exit code 1\n";
}

INSTANTIATE_TEST_SUITE_P(Of, FailingCalls, testing::Range(std::size_t{0}, std::size(commands)));
