// The table of scripts/bench: ratios, each of two things measured in turn in this one run. Its argument is
// the folder of the build.

#include "bench/stopwatch.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "logging/log_manager.h"
#include "runtime/vdatetime.h"

#include <cstdio>
#include <string>

namespace {

void print(const char* subject, const char* reference, const Comparison& result, double aim)
{
    std::printf("%-28s %9.0f us   %-30s %9.0f us   ratio %5.2f   aim %s%.2f\n", subject, result.subject, reference,
        result.reference, result.ratio(), aim < 1 ? "<" : "", aim < 1 ? 1.0 : aim);
    std::fflush(stdout);
}

/// Starts a program with its output thrown away and waits for its end.
void run(const std::wstring& program, const std::wstring& arguments)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    static const UniqueFile nowhere(CreateFileW(L"NUL", GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = nowhere.get();
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(
            program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        std::printf("cannot start %ls: %lu\n", program.c_str(), GetLastError());
        ExitProcess(1);
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (code != 0) {
        std::printf("%ls failed with %lu\n", program.c_str(), code);
        ExitProcess(1);
    }
}

void benchServiceStatus(const std::wstring& build)
{
    const auto mendkit = [&] { run(build + L"\\app\\mendkit.exe", L"--get-service-status --name=PlugPlay"); };
    const auto sc = [] { run(L"C:\\windows\\system32\\sc.exe", L"query PlugPlay"); };
    const auto bare = [&] { run(build + L"\\bench\\bare_service_status.exe", L"PlugPlay"); };
    mendkit(), sc(), bare(); // files and services warm
    print("--get-service-status", "sc query", Comparison::of(60, mendkit, sc), 0.99);
    print("--get-service-status", "bare program, same calls", Comparison::of(200, mendkit, bare), 1.10);
}

/// What a line of the debug log cannot do without.
void writeBareLine(const std::wstring& path, const std::wstring& text)
{
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"kelvolog_bare_mutex");
    WaitForSingleObject(mutex, INFINITE);
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER end;
    SetFilePointerEx(file, {}, &end, FILE_END);
    DWORD written;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &written, nullptr);
    CloseHandle(file);
    ReleaseMutex(mutex);
    CloseHandle(mutex);
}

void benchLogLine()
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const std::wstring root = std::wstring(temp) + L"mendkit_bench_" + std::to_wstring(GetCurrentProcessId());
    const std::wstring admin = root + L"\\admin", logs = admin + L"\\logs", bareLog = logs + L"\\bare.log";
    for (const std::wstring& directory : {root, admin, logs})
        CreateDirectoryW(directory.c_str(), nullptr);
    const std::wstring keyName = L"Software\\mendkit_bench_" + std::to_wstring(GetCurrentProcessId());
    const UniqueRegistryKey sandbox = registry::create(HKEY_CURRENT_USER, keyName, KEY_ALL_ACCESS);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, sandbox.get());
    const UniqueRegistryKey key = registry::create(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE);
    registry::set(key.get(), L"Debug", 1);
    registry::set(key.get(), L"PRODUCT_ROOT_D", root);

    LogManager::settings().eventLog[0] = false; // the file alone
    const std::wstring text(80, L'x');
    const auto line = [&] { LogManager::log(LogLevel::Info, L"%s", text.c_str()); };
    const auto bare = [&] { writeBareLine(bareLog, L"2026/11/16 04:53:12.345 4120 3388 Info: " + text + L"\r\n"); };
    line(), bare();
    print("a line of the debug log", "bare lock, open, append, close", Comparison::of(4000, line, bare), 1.30);

    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, keyName.c_str());
    DeleteFileW((logs + L"\\kelvolog_debug" + VDateTime::local().compactDate() + L".log").c_str());
    DeleteFileW(bareLog.c_str());
    for (const std::wstring& directory : {logs, admin, root})
        RemoveDirectoryW(directory.c_str());
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 2)
        return 1;
    benchServiceStatus(argv[1]);
    benchLogLine();
    return 0;
}
