#include "system/process/vexecutil.h"

#include "runtime/text/format.h"
#include "system/report_helpers.h"
#include "test/failure.h"
#include "test/replaced_import.h"

#include <functional>

namespace {

std::wstring creation;

BOOL WINAPI recordCreation(const wchar_t* executable, wchar_t* line, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
    BOOL inherit, DWORD flags, void*, const wchar_t*, STARTUPINFOW* startup, PROCESS_INFORMATION*)
{
    creation = formatString(L"%lx, %lx %d, inherits %d, %s, %s: %s", flags, startup->dwFlags, startup->wShowWindow,
        inherit, startup->lpDesktop ? startup->lpDesktop : L"none", executable, line);
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

DWORD WINAPI priority(HANDLE)
{
    return BELOW_NORMAL_PRIORITY_CLASS; // 0x4000
}

} // namespace

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
    }
}
