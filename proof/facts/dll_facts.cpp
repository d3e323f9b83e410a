// Where the program's DLLs come from.

#include "proof/facts/needs.h"
#include "proof/facts/start_suite.h"
#include "runtime/late/late_imports.h"

#include <algorithm>
#include <set>

namespace {

constexpr DWORD isLoaded = 77; // the exit code of a process that has loaded a planted DLL

std::wstring lower(std::wstring text)
{
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::wstring nameIn(const std::wstring& path)
{
    return path.substr(path.rfind(L'\\') + 1);
}

std::wstring systemDirectory()
{
    wchar_t directory[MAX_PATH];
    GetSystemDirectoryW(directory, MAX_PATH);
    return lower(directory) + L"\\";
}

/// The paths, in small letters, of the DLLs that a run loads, as the loader tells them to a debugger.
std::set<std::wstring> dllsOf(const std::wstring& program, const std::wstring& arguments)
{
    std::set<std::wstring> dlls;
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE,
        DEBUG_ONLY_THIS_PROCESS | CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started));
    const UniqueHandle process(started.hProcess), thread(started.hThread);
    DEBUG_EVENT event{};
    while (event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT && WaitForDebugEvent(&event, 60'000)) {
        const DWORD kind = event.dwDebugEventCode;
        if (kind == LOAD_DLL_DEBUG_EVENT) {
            const UniqueHandle file(event.u.LoadDll.hFile);
            wchar_t path[1024];
            const DWORD length = GetFinalPathNameByHandleW(file.get(), path, 1024, VOLUME_NAME_DOS);
            const std::wstring found = lower(std::wstring(path, length < 1024 ? length : 0));
            dlls.insert(found.starts_with(L"\\\\?\\") ? found.substr(4) : found);
        }
        const bool isFault =
            kind == EXCEPTION_DEBUG_EVENT && event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT;
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, isFault ? DBG_EXCEPTION_NOT_HANDLED : DBG_CONTINUE);
    }
    dlls.erase(L"");
    return dlls;
}

/// The DLLs that are bound late.
std::set<std::wstring> lateDlls()
{
    std::set<std::wstring> names;
#define MENDKIT_LIBRARY(library, function) names.insert(late::library.name());
    MENDKIT_LATE_FUNCTIONS(MENDKIT_LIBRARY)
#undef MENDKIT_LIBRARY
    return names;
}

} // namespace

TEST_F(Start, KnownDlls)
{
    SKIP_UNDER_WINE("no list of known DLLs");
    std::set<std::wstring> own = lateDlls();
    own.insert({L"advapi32.dll", L"kernel32.dll", L"kernelbase.dll", L"msvcrt.dll", L"ntdll.dll"});
    std::size_t seen = 0;
    for (const std::wstring& dll : dllsOf(builtProgram(L"app\\mendkit.exe"), L"--bogus")) {
        if (!own.contains(nameIn(dll))) // security products add their own
            continue;
        ++seen;
        EXPECT_TRUE(dll.starts_with(systemDirectory())) << "loaded from elsewhere: " << testing::PrintToString(dll);
    }
    EXPECT_LE(5u, seen) << "the loader did not tell the imported DLLs";
}

TEST_F(Start, ApiSets)
{
    const HMODULE module = late::corePath.load();
    ASSERT_TRUE(module) << "the functions of paths are missing: " << GetLastError();
    wchar_t file[MAX_PATH];
    GetModuleFileNameW(module, file, MAX_PATH);
    EXPECT_TRUE(lower(file).starts_with(systemDirectory())) << testing::PrintToString(file);
    EXPECT_TRUE(kit::isWine() || nameIn(lower(file)) == L"kernelbase.dll")
        << "the API set has another host: " << testing::PrintToString(file);
}

TEST_F(Start, PlantedDlls)
{
    const std::wstring beside = root.path() + L"\\admin\\bin", current = root.path() + L"\\admin\\logs",
                       planted = builtProgram(L"proof\\planted.dll"), program = beside + L"\\mendkit.exe",
                       faulting = beside + L"\\fault_program.exe";
    setConfig(L"CrashDumpsLocation", root.path() + L"\\missing"); // loads dbghelp, but writes no dump
    std::ofstream((beside + L"\\send-error-report.exe").c_str()) << "no program";
    CopyFileW(builtProgram(L"app\\mendkit.exe").c_str(), program.c_str(), TRUE);
    CopyFileW(builtProgram(L"test\\fault_program.exe").c_str(), faulting.c_str(), TRUE);
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    const struct
    {
        const std::wstring& path;
        const wchar_t* arguments;
    } runs[] = {{program, L"--get-service-status --name=none"}, {program, L"--bogus"}, {program, L"--get-disk-space"},
        {faulting, L"write"}};
    std::set<std::wstring> names = lateDlls();
    names.insert({L"msxml6.dll", L"dbgcore.dll", L"version.dll", L"cryptbase.dll", L"profapi.dll"});
    std::vector<std::uint32_t> codes;
    for (const auto& [path, arguments] : runs) {
        for (const std::wstring& dll : dllsOf(path, arguments))
            names.insert(nameIn(dll));
        codes.push_back(runChild(path, arguments).exitCode);
    }
    if (kit::isWine()) // looks beside the program for what the functions of its DLLs are forwarded to
        names.erase(L"shcore.dll");
    for (const std::wstring& directory : {beside, current}) {
        for (const std::wstring& name : names)
            ASSERT_TRUE(CopyFileW(planted.c_str(), (directory + L"\\" + name).c_str(), TRUE)) << GetLastError();
    }
    if (runChild(systemDirectory() + L"rundll32.exe", L"\"" + planted + L"\",x").exitCode != isLoaded)
        GTEST_SKIP() << "this system loads no such DLL at all";
    SetCurrentDirectoryW(current.c_str());
    for (std::size_t number = 0; number < std::size(runs); ++number) {
        const auto& [path, arguments] = runs[number];
        EXPECT_EQ(codes[number], runChild(path, arguments).exitCode)
            << "a planted DLL is loaded (exit code 77), or prevents the run: " << testing::PrintToString(arguments);
    }
    SetCurrentDirectoryW(before);
}
