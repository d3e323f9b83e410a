// The processes that the program starts: their handles, tokens, sessions, desktops and codes.

#include "proof/facts/needs.h"
#include "proof/facts/other_account.h"
#include "proof/facts/temporary_service.h"
#include "runtime/identity.h"
#include "runtime/text/code_page.h"
#include "system/process/desktop_access.h"
#include "test/failure.h"
#include "test/json_document.h"
#include "test/program.h"
#include "test/station_list.h"

namespace {

class Process : public ProgramRun
{
protected:
    Process()
    {
        setConfig(L"SendFeedback", L"false");
        CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), utility.c_str(), TRUE);
        CreateDirectoryW((root.path() + L"\\var").c_str(), nullptr);
    }
    void setScript(const std::string& script) const
    {
        std::ofstream((root.path() + L"\\admin\\bin\\sysinfo.script").c_str()) << script;
    }
    std::string notes() const { return readFile(root.path() + L"\\var\\devpanel.log"); }

    const std::wstring utility = root.path() + L"\\admin\\bin\\sysinfo.exe";
};

/// Whether a process has a handle of this value to the same object as this process.
bool shares(HANDLE process, HANDLE handle)
{
    // Not in every import library: CompareObjectHandles (handleapi.h), Windows 10 and Server 2016
    const auto compare = reinterpret_cast<decltype(&CompareObjectHandles)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CompareObjectHandles")));
    UniqueHandle copy;
    return DuplicateHandle(process, handle, GetCurrentProcess(), copy.receive(), 0, FALSE, DUPLICATE_SAME_ACCESS) &&
           compare(copy.get(), handle);
}

} // namespace

TEST_F(Process, InheritedHandles)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    std::vector<UniqueHandle> events;
    for (int count = 0; count < 200; ++count)
        events.emplace_back(CreateEventW(&inherit, TRUE, FALSE, nullptr));
    for (const bool isReport : {false, true}) { // the utility of error reports gets a pipe and NUL
        vexecutil child;
        child.path = utility;
        child.suspended = true;
        child.captureStdout = !isReport;
        child.stderrToStdout = child.pipeStdin = true;
        child.stdoutFile = isReport ? L"NUL" : L"";
        startPatiently(child);
        for (const UniqueHandle& event : events)
            EXPECT_FALSE(shares(child.process.get(), event.get()))
                << "a utility inherits a handle that is not its own";
        terminate(child);
    }
    vexecutil child; // the control: without the list it inherits them
    child.path = utility;
    child.suspended = child.inheritHandles = true;
    startPatiently(child);
    EXPECT_TRUE(shares(child.process.get(), events.back().get())) << "this fact cannot notice inherited handles";
    terminate(child);
}

TEST_F(Process, UtilitiesOutliveTheProgram)
{
    // How the program is ended. Ctrl+Break is as Ctrl+C. The job ends the utility too.
    enum End
    {
        kill,
        ctrlBreak,
        job
    };
    setScript("note begun\nsleep 2000\nout x\nnote done");
    const std::wstring quoted = L"\"" + root.path() + L"\" ", pipe = L"mendkit_outlived";
    setConfig(L"zrmpipe", pipe);
    for (const End end : {kill, job, ctrlBreak}) {
        const auto service = serve(L"0", pipe.c_str(), quoted + quoted); // it ends without clients
        DeleteFileW((root.path() + L"\\var\\devpanel.log").c_str());
        std::wstring command = L"\"" + builtProgram(L"app\\mendkit.exe") + L"\" --get-system-resources";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE,
            CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED, nullptr, nullptr, &startup, &started))
            << GetLastError();
        const UniqueHandle process(started.hProcess), thread(started.hThread);
        UniqueHandle closing(CreateJobObjectW(nullptr, nullptr));
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = end == job ? JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE : 0;
        SetInformationJobObject(closing.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
        EXPECT_TRUE(AssignProcessToJobObject(closing.get(), process.get())) << GetLastError();
        ResumeThread(thread.get());
        for (int patience = 3000; notes().empty() && patience > 0; --patience)
            Sleep(10);
        if (end == kill)
            TerminateProcess(process.get(), 7);
        else if (end == job)
            closing.reset();
        else
            GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, started.dwProcessId);
        DWORD code = 0;
        const bool isEnded = WaitForSingleObject(process.get(), 800) == WAIT_OBJECT_0;
        GetExitCodeProcess(process.get(), &code);
        EXPECT_EQ("begun\r\n", notes()) << "the utility ended before the program";
        for (int patience = 350; notes() == "begun\r\n" && patience > 0; --patience)
            Sleep(10);
        EXPECT_EQ(end == job ? "begun\r\n" : "begun\r\ndone\r\n", notes())
            << "the utility was ended with the program, or by its output; or a job that is closed did not end it";
        terminate(*service);
        if (!isEnded && end == ctrlBreak)
            GTEST_SKIP() << "this process has no console, or the program does not listen to it";
        if (end != job) {
            EXPECT_EQ(end == kill ? 7u : DWORD(STATUS_CONTROL_C_EXIT), code)
                << "docs/operations.md names another exit code";
        }
    }
}

TEST_F(Process, OtherToken)
{
    NEEDS_ACCOUNT();
    const StationList list; // set again at the end: the start lets the account onto the desktop
    setScript("note ran");
    vexecutil child;
    child.path = utility;
    identity::Sid user;
    std::wstring failure;
    bool isStillOther = false;
    {
        const AsOtherAccount other;
        user = identity::currentUser();
        failure = failureOf([&] { child.start(); });
        isStillOther = identity::currentUser() == user;
    }
    // "Processes in the Client Security Context": the call needs privileges that services of SYSTEM hold, but no
    // administrator. A prompt whose policy grants them starts the child.
    EXPECT_TRUE(isStillOther) << "the thread acts with more rights after the start than before";
    const std::string shown = toNarrow(failure.substr(0, failure.find_first_of(L"\r\n")), utf8CodePage);
    std::printf("Figure: a child under another account's token: %s\n", child.process ? "started" : shown.c_str());
    if (child.process) {
        EXPECT_EQ(user, identity::userOf(identity::tokenOf(child.process.get(), TOKEN_QUERY).get()))
            << "the child has the rights of the program, not those of the caller";
        terminate(child);
        return;
    }
    EXPECT_EQ("", notes()) << "a start that was reported as failed has run the utility";
    const bool isOwnFailure = failure.find(L"CreateProcessAsUser '") != std::wstring::npos ||
                              failure.find(L" security") != std::wstring::npos ||
                              failure.find(L"Unable to open ") != std::wstring::npos;
    EXPECT_TRUE(isOwnFailure) << "an unexpected failure: " << testing::PrintToString(failure);
}

TEST_F(Process, SessionZero)
{
    setScript("desktop\nexit 3");
    const std::wstring image = root.path() + L"\\admin\\bin64\\devpanel.exe";
    CopyFileW(devpanel.c_str(), image.c_str(), TRUE);
    const TemporaryService service(L"pipe", L"\"" + image + L"\" service");
    ASSERT_EQ(DWORD{ERROR_SUCCESS}, service.start({L"mendkit_session_zero"}));
    ASSERT_TRUE(becomesFree(L"mendkit_session_zero"));
    setConfig(L"zrmpipe", L"mendkit_session_zero");
    const std::wstring command = L"\"" + builtProgram(L"app\\mendkit.exe") + L"\" --get-system-resources";
    const ChildResult result = runAsSystem(command, root.path() + L"\\output");
    std::string shown = result.output;
    for (char& letter : shown)
        letter = static_cast<char>(tolower(letter));
    EXPECT_EQ(1u, result.exitCode);
    EXPECT_NE(std::string::npos, shown.find("failed with error code 3: winsta0\\default\r\n"))
        << "a utility of a service has no window station: " << result.output;
}

TEST_F(Process, DesktopAccess)
{
    const identity::Sid nobody = identity::Sid::parse(L"S-1-5-21-1-2-3-1001");
    SKIP_UNDER_WINE("desktops have no access list");
    const StationList list;
    if (list.code() != ERROR_SUCCESS)
        GTEST_SKIP() << "this prompt may not change the access list of winsta0: " << list.code();
    ASSERT_TRUE(ImpersonateSelf(SecurityImpersonation));
    const std::wstring failure = failureOf([&] { grantDesktopAccess(nobody); });
    RevertToSelf();
    EXPECT_EQ(L"nothing thrown", failure) << "a user cannot be let onto the desktop";
    EXPECT_TRUE(list.names(nobody)) << "the user has no access to the window station";
}

TEST_F(Process, StartCodes)
{
    const std::wstring bin = root.path() + L"\\admin\\bin\\";
    std::ofstream((bin + L"text.exe").c_str()) << "no program";
    CreateDirectoryW((bin + L"folder.exe").c_str(), nullptr);
    const struct
    {
        const wchar_t* name;
        DWORD code;
    } rows[] = {{L"text.exe", ERROR_BAD_EXE_FORMAT}, {L"missing.exe", ERROR_FILE_NOT_FOUND},
        {L"folder.exe", DWORD(kit::isWine() ? ERROR_INVALID_HANDLE : ERROR_ACCESS_DENIED)},
        {L"no\\folder.exe", ERROR_PATH_NOT_FOUND}};
    for (const auto& [name, code] : rows) {
        vexecutil child;
        child.path = bin + name;
        const std::wstring failure = messageIn(failureOf([&] { child.start(); }));
        EXPECT_TRUE(failure.ends_with(
            L"(Error code " + std::to_wstring(code) + L") at CreateProcess '\"" + child.path + L"\"'"))
            << "another code, or another text: " << testing::PrintToString(failure);
    }
}
