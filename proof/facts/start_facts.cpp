// How the system loads the program.

#include "proof/facts/needs.h"
#include "proof/facts/start_suite.h"
#include "proof/facts/unelevated.h"

#include <winternl.h>

#include <algorithm>
#include <cstring>

namespace {

/// What the system has read from the program's manifest.
class Manifest
{
public:
    Manifest()
    {
        const std::wstring program = builtProgram(L"app\\mendkit.exe");
        ACTCTXW source{};
        source.cbSize = sizeof source;
        source.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
        source.lpSource = program.c_str();
        source.lpResourceName = MAKEINTRESOURCEW(1); // CREATEPROCESS_MANIFEST_RESOURCE_ID
        context_ = CreateActCtxW(&source);
    }
    Manifest(const Manifest&) = delete;
    Manifest& operator=(const Manifest&) = delete;
    ~Manifest() { ReleaseActCtx(context_); }

    bool isRead() const { return context_ != INVALID_HANDLE_VALUE; }

    std::string query(ACTIVATION_CONTEXT_INFO_CLASS kind) const
    {
        char bytes[1024];
        SIZE_T size = 0;
        const BOOL isKnown = QueryActCtxW(0, context_, nullptr, kind, bytes, sizeof bytes, &size);
        return isKnown ? std::string(bytes, size) : "";
    }

    std::wstring setting(const wchar_t* name) const
    {
        wchar_t value[32] = L"";
        SIZE_T size = 0;
        QueryActCtxSettingsW(
            0, context_, L"http://schemas.microsoft.com/SMI/2016/WindowsSettings", name, value, 32, &size);
        return value;
    }

private:
    HANDLE context_;
};

} // namespace

TEST_F(Start, AddressSpaceLayout)
{
    SKIP_UNDER_WINE("no random addresses (Wine 8)");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    ASSERT_TRUE(CreateProcessW(builtProgram(L"app\\mendkit.exe").c_str(), nullptr, nullptr, nullptr, FALSE,
        CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started));
    const UniqueHandle process(started.hProcess), thread(started.hThread);
    PROCESS_BASIC_INFORMATION basic{};
    const NTSTATUS status =
        NtQueryInformationProcess(process.get(), ProcessBasicInformation, &basic, sizeof basic, nullptr);
    constexpr std::size_t imageBaseAt = 0x10; // in the process environment block of a 64-bit process
    ULONGLONG base = 0;
    const bool isRead = ReadProcessMemory(process.get(),
        reinterpret_cast<const BYTE*>(basic.PebBaseAddress) + imageBaseAt, &base, sizeof base, nullptr);
    TerminateProcess(process.get(), 1);
    ASSERT_TRUE(status >= 0 && isRead);
    EXPECT_NE(0x140000000u, base) << "the image lies at the address that it was linked for";
    EXPECT_LT(0x100000000u, base) << "the image lies below 4 GiB: no high entropy";
}

TEST_F(Start, Manifest)
{
    const Manifest manifest;
    ASSERT_TRUE(manifest.isRead()) << "the system rejects the manifest: " << GetLastError();
    ACTIVATION_CONTEXT_RUN_LEVEL_INFORMATION level{};
    const std::string levelBytes = manifest.query(RunlevelInformationInActivationContext);
    memcpy(&level, levelBytes.data(), std::min(sizeof level, levelBytes.size()));
    EXPECT_EQ(ACTCTX_RUN_LEVEL_AS_INVOKER, level.RunLevel) << "the program asks for elevation";
    EXPECT_EQ(L"true", manifest.setting(L"longPathAware")) << "paths beyond 260 characters fail";
    // Windows 10 and 11, Server 2016 and later: Targeting your application for Windows
    constexpr GUID windows10 = {0x8e0f7a12, 0xbfb3, 0x4fe8, {0xb9, 0xa5, 0x48, 0xfd, 0x50, 0xa1, 0x5a, 0x9a}};
    const std::string id(reinterpret_cast<const char*>(&windows10), sizeof windows10);
    EXPECT_NE(std::string::npos, manifest.query(CompatibilityInformationInActivationContext).find(id))
        << "the system tells the program another version than its own";
    const std::wstring program = root.path() + L"\\admin\\mendkit.exe";
    CopyFileW(builtProgram(L"app\\mendkit.exe").c_str(), program.c_str(), TRUE);
    const ChildResult result = runUnelevated(L"\"" + program + L"\" --help", root.path() + L"\\output");
    EXPECT_EQ(0u, result.exitCode) << "it does not run without elevation: " << result.output;
}

TEST_F(Start, LongPaths)
{
    DWORD isOn = 0, size = sizeof isOn;
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\FileSystem", L"LongPathsEnabled",
        RRF_RT_REG_DWORD, nullptr, &isOn, &size);
    if (isOn == 0)
        GTEST_SKIP() << "the machine's policy LongPathsEnabled is off";
    std::wstring place = root.path();
    for (int depth = 0; depth < 3; ++depth) {
        place += L"\\" + std::wstring(100, L'd');
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + place).c_str(), nullptr)) << GetLastError();
    }
    for (const wchar_t* part : {L"\\admin", L"\\admin\\logs"})
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + place + part).c_str(), nullptr)) << GetLastError();
    setConfig(L"PRODUCT_ROOT_D", place);
    setConfig(L"Debug", 1);
    EXPECT_EQ(0u, run(L"--get-service-status --name=none").exitCode);
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((L"\\\\?\\" + place + L"\\admin\\logs\\*.log").c_str(), &found);
    EXPECT_NE(INVALID_HANDLE_VALUE, search) << "no log is written to a path beyond 260 characters";
    FindClose(search);
    // Without the prefix it would not be removed with the other files of the test.
    _wsystem((L"cmd /d /c rd /s /q \"\\\\?\\" + root.path() + L"\\" + std::wstring(100, L'd') + L"\"").c_str());
}

TEST_F(Start, CodesOfTheLoader)
{
    SKIP_UNDER_WINE("it replaces missing functions, and its loader's codes are its own");
    const std::string image = readFile(builtProgram(L"app\\mendkit.exe"));
    const struct
    {
        std::string name, other;
        DWORD code;
    } rows[] = {{"msvcrt.dll", "mvscrt.dll", 0xC0000135}, {"GetTickCount64", "GetTickCounts4", 0xC0000139}};
    for (const auto& [name, other, code] : rows) {
        std::string damaged = image;
        const std::size_t at = damaged.find(name + '\0');
        ASSERT_NE(std::string::npos, at) << name << " is not imported";
        damaged.replace(at, name.size(), other);
        const std::wstring program = root.path() + L"\\damaged.exe";
        std::ofstream(program.c_str(), std::ios::binary) << damaged;
        const UINT mode = SetErrorMode(SEM_FAILCRITICALERRORS); // inherited: no message box
        EXPECT_EQ(code, runChild(program, L"--help").exitCode) << "docs/operations.md names another exit code";
        SetErrorMode(mode);
    }
}
