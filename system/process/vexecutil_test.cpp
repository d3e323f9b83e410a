#include "system/process/vexecutil.h"

#include "runtime/identity.h"
#include "runtime/text/format.h"
#include "system/report_helpers.h"
#include "test/failure.h"
#include "test/file_opens.h"
#include "test/replaced_import.h"

#include <functional>

namespace {

std::wstring creation, kinds; // kinds of the standard handles

BOOL WINAPI recordCreation(const wchar_t* executable, wchar_t* line, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
    BOOL inherit, DWORD flags, void*, const wchar_t*, STARTUPINFOW* startup, PROCESS_INFORMATION*)
{
    creation = formatString(L"%lx, %lx %d, inherits %d, %s, %s: %s", flags, startup->dwFlags, startup->wShowWindow,
        inherit, startup->lpDesktop ? startup->lpDesktop : L"none", executable, line);
    kinds = formatString(L"%lu %lu %lu", GetFileType(startup->hStdInput), GetFileType(startup->hStdOutput),
        GetFileType(startup->hStdError));
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

std::wstring pipe;

HANDLE WINAPI createPipe(const wchar_t* name, DWORD access, DWORD mode, DWORD instances, DWORD out, DWORD in,
    DWORD timeout, SECURITY_ATTRIBUTES* security)
{
    const auto system = reinterpret_cast<decltype(&CreateNamedPipeW)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "CreateNamedPipeW")));
    wchar_t* text = nullptr;
    ConvertSecurityDescriptorToStringSecurityDescriptorW(security->lpSecurityDescriptor, SDDL_REVISION_1,
        OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &text, nullptr);
    const UniqueLocalMemory memory(text);
    pipe = formatString(L"%lx %lx %lu %s", access, mode, instances, text);
    return system(name, access, mode, instances, out, in, timeout, security);
}

DWORD WINAPI priority(HANDLE)
{
    return BELOW_NORMAL_PRIORITY_CLASS; // 0x4000
}

} // namespace

TEST(Child, GetsAPipeThatNobodyElseCanUse)
{
    const ReplacedImport create("CreateNamedPipeW", createPipe);
    const FileOpens opens;
    const std::wstring user = identity::currentUser().text(),
                       rights = L" 8 1 O:" + user + L"D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;" + user + L")";
    ExecPipe input, output;
    EXPECT_TRUE(input.create(ExecPipe::Direction::toChild));
    EXPECT_EQ(L"40080002" + rights, pipe);
    EXPECT_EQ(L"80000100 0 3 0", FileOpens::of(L"\\\\.\\pipe\\mendkit."));
    EXPECT_TRUE(output.create(ExecPipe::Direction::fromChild));
    EXPECT_EQ(L"40080001" + rights, pipe);
    EXPECT_EQ(L"40000080 0 3 0", FileOpens::of(L"\\\\.\\pipe\\mendkit."));
}

TEST(Child, IsCreatedAsItsFieldsSay)
{
    const ReplacedImport create("CreateProcessW", recordCreation), ownClass("GetPriorityClass", priority);
    const std::wstring none = L", 1 0, inherits 0, winsta0\\default, ",
                       own = L", 100 0, inherits 1, winsta0\\default, ", line = L"C:\\x.exe: \"C:\\x.exe\" a";
    const wchar_t environment[] = L"";
    const struct
    {
        std::function<void(vexecutil&)> set;
        std::wstring creation;
    } rows[] = {{[](vexecutil&) {}, L"4010" + none + line},
        {[](auto& c) { c.hideWindow = 2; }, L"8004010" + none + line},
        {[](auto& c) { c.hideWindow = -1; }, L"4010" + none + line},
        {[](auto& c) { c.suspended = true; }, L"4014" + none + line},
        {[&](auto& c) { c.environment = environment; }, L"4410" + none + line},
        {[](auto& c) { c.captureStdout = true; }, L"84000" + own + line},
        {[](auto& c) { c.pipeStdin = true; }, L"84000" + own + line},
        {[](auto& c) { c.pipeStderr = true; }, L"84000" + own + line},
        {[](auto& c) { c.stdinFile = L"NUL"; }, L"84000" + own + line},
        {[](auto& c) { c.stderrFile = L"NUL"; }, L"84000" + own + line},
        {[](auto& c) { c.inheritHandles = true; }, L"4000" + own + line},
        {[](auto& c) { c.inheritDesktop = true; }, L"4010, 1 0, inherits 0, none, " + line},
        {[](auto& c) { c.path.clear(), c.arguments = L"\"C:\\y z\" b"; }, L"4010" + none + L"C:\\y z: \"C:\\y z\" b"},
        {[](auto&) { SendErrorReport::DefaultProcessHelper(L"C:\\r.exe b").start(); }, // before the child itself
            L"8084000" + own + L"C:\\r.exe: C:\\r.exe b"}};
    int reports = 0;
    for (const auto& row : rows) {
        vexecutil child;
        child.path = L"C:\\x.exe";
        child.arguments = L"a";
        const std::wstring failure = failureOf([&] {
            row.set(child);
            child.start();
        });
        EXPECT_EQ(row.creation, creation);
        EXPECT_NE(std::wstring::npos, failure.find(L" (Error code 5) at CreateProcess '"));
        if (kinds == L"3 2 2") // of the error reports: a pipe, and NUL twice
            ++reports;
    }
    EXPECT_EQ(1, reports);
}
