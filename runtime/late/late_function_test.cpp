// Calls every late-bound function once: a function listed with the wrong DLL fails here.

#include "runtime/com/com_handles.h"
#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"
#include "runtime/late/late_imports.h"
#include "test/failure.h"

#include <map>
#include <string>

namespace {

constexpr CLSID globalInterfaceTable = {
    0x323, 0, 0, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}}; // COM registers this class itself

struct Com
{
    const HRESULT result = late::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    ~Com() { late::CoUninitialize.tryCall(); }
};

UniqueCom<IUnknown> makeObject()
{
    UniqueCom<IUnknown> object;
    late::CoCreateInstance(globalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IUnknown),
        reinterpret_cast<void**>(object.receive()));
    return object;
}

/// Each calls the function of its name. @return whether the result is right
const std::map<std::string, bool (*)()> calls{
    {"PathAllocCanonicalize",
        [] {
            wchar_t* path = nullptr;
            const HRESULT result = late::PathAllocCanonicalize(L"C:\\a\\..\\b", 0, &path);
            return result == S_OK && wcscmp(L"C:\\b", static_cast<wchar_t*>(UniqueLocalMemory(path).get())) == 0;
        }},
    {"PathAllocCombine",
        [] {
            wchar_t* path = nullptr;
            const HRESULT result = late::PathAllocCombine(L"C:\\a", L"b", 0, &path);
            return result == S_OK && wcscmp(L"C:\\a\\b", static_cast<wchar_t*>(UniqueLocalMemory(path).get())) == 0;
        }},
    {"MiniDumpWriteDump",
        [] { return !late::MiniDumpWriteDump(nullptr, 0, nullptr, MiniDumpNormal, nullptr, nullptr, nullptr); }},
    {"CoInitializeEx", [] { return Com().result == S_OK; }},
    {"CoUninitialize",
        [] {
            const HRESULT first = Com().result, second = Com().result;
            return first == S_OK && second == S_OK; // S_FALSE would mean that COM is still initialized
        }},
    {"CoCreateInstance",
        [] {
            const Com com;
            return static_cast<bool>(makeObject());
        }},
    {"OleRun",
        [] {
            const Com com;
            return late::OleRun(makeObject().get()) == S_OK; // also for an object that needs no start
        }},
    {"SysAllocStringLen", [] { return wcscmp(L"ab", UniqueBstr(late::SysAllocStringLen(L"abc", 2)).get()) == 0; }},
    {"SysStringLen", [] { return late::SysStringLen(UniqueBstr(late::SysAllocStringLen(L"a\0b", 3)).get()) == 3; }},
    {"SysFreeString",
        [] {
            late::SysFreeString(late::SysAllocStringLen(L"", 0));
            return true;
        }},
    {"SHGetSpecialFolderPathW",
        [] {
            wchar_t path[MAX_PATH] = L"", system[MAX_PATH] = L"";
            GetSystemDirectoryW(system, MAX_PATH);
            return late::SHGetSpecialFolderPathW(nullptr, path, CSIDL_SYSTEM, FALSE) && _wcsicmp(system, path) == 0;
        }},
    {"PathStripToRootW",
        [] {
            wchar_t path[] = L"C:\\a\\b";
            return late::PathStripToRootW(path) && wcscmp(L"C:\\", path) == 0;
        }},
    {"GetProcessWindowStation", [] { return late::GetProcessWindowStation() != nullptr; }},
    {"SetProcessWindowStation",
        [] { return late::SetProcessWindowStation(late::GetProcessWindowStation()) == TRUE; }},
    {"OpenWindowStationW", [] { return late::OpenWindowStationW(L"winsta0", FALSE, READ_CONTROL) != nullptr; }},
    {"CloseWindowStation",
        [] { return late::CloseWindowStation(late::OpenWindowStationW(L"winsta0", FALSE, READ_CONTROL)) == TRUE; }},
    {"OpenDesktopW", [] { return late::OpenDesktopW(L"default", 0, FALSE, READ_CONTROL) != nullptr; }},
    {"CloseDesktop",
        [] { return late::CloseDesktop(late::OpenDesktopW(L"default", 0, FALSE, READ_CONTROL)) == TRUE; }},
};

constinit LateLibrary missingLibrary(L"mendkit_missing.dll"), kernel32(L"kernel32.dll");
constinit LateFunction<void()> inMissingLibrary(missingLibrary, "Anything"), missing(kernel32, "MendkitMissing");

} // namespace

TEST(LateFunctions, CanBeCalled)
{
#define MENDKIT_NAME(library, function) #function,
    for (const char* const name : {MENDKIT_LATE_FUNCTIONS(MENDKIT_NAME)}) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, name);
        const auto found = calls.find(name);
        ASSERT_NE(calls.end(), found) << "the table has no call of it";
        EXPECT_EQ(L"nothing thrown", failureOf<vosexception>([&] { EXPECT_TRUE(found->second()); }));
    }
}

TEST(LateFunction, ReportsTheMissingLibraryOrFunction)
{
    const std::wstring library = failureOf<vosexception>([] { inMissingLibrary(); }),
                       function = failureOf<vosexception>([] { missing(); });
    EXPECT_EQ(systemMessage(ERROR_MOD_NOT_FOUND) + L" (Error code 126) at LoadLibrary 'mendkit_missing.dll'",
        messageIn(library));
    EXPECT_NE(std::wstring::npos, library.find(L"\n   at (Anything line ")) << library;
    EXPECT_EQ(
        systemMessage(ERROR_PROC_NOT_FOUND) + L" (Error code 127) at GetProcAddress 'kernel32.dll' 'MendkitMissing'",
        messageIn(function));
    inMissingLibrary.tryCall();
    missing.tryCall();
}

TEST(LateFunction, IsLoadedFromTheSystemDirectoryOnly)
{
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring beside = std::wstring(program).substr(0, std::wstring(program).rfind(L'\\') + 1);
    const std::wstring copy = beside + L"mendkit_beside.dll";
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    ASSERT_TRUE(CopyFileW((system + std::wstring(L"\\shlwapi.dll")).c_str(), copy.c_str(), FALSE)) << GetLastError();
    static constinit LateLibrary planted(L"mendkit_beside.dll");
    EXPECT_EQ(nullptr, planted.load());
    EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
    const HMODULE module = LoadLibraryW(L"mendkit_beside.dll");
    EXPECT_NE(nullptr, module) << "the default search order finds it";
    FreeLibrary(module);
    DeleteFileW(copy.c_str());
}
