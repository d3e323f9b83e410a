// Prints the table of scripts/bench: the requests to Wine's server and the times of pairs of calls. It takes two
// passes: "count" under a server with a log, then "time" under an ordinary one, which prints. The arguments are the
// pass, the build folder and optionally a part of the table: pipe, status, log, cleaning, utilities
// or listing. The pass "figures" prints the times alone, also on Windows.

#include "bench/cleaning.h"
#include "bench/program_run.h"
#include "bench/report.h"

#include "config/management_service/kelvo_srv_client.h"
#include "devpanel/panel_root.h"
#include "logging/log_manager.h"
#include "runtime/vdatetime.h"
#include "system/panel/panel_utility.h"
#include "test/registry_override.h"

#include <psapi.h>

#include <cstdio>
#include <string>
#include <thread>

namespace {

void benchServiceStatus(const std::wstring& build)
{
    const auto mendkit = [&] { run(build + L"\\app\\mendkit.exe", L"--get-service-status --name=PlugPlay"); };
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring scProgram = std::wstring(system) + L"\\sc.exe";
    const auto sc = [&] { run(scProgram, L"query PlugPlay"); };
    const auto bare = [&] { run(build + L"\\bench\\bare_service_status.exe", L"PlugPlay"); };
    mendkit(), sc(), bare(); // warms files and services
    print("--get-service-status", "sc query", Comparison::of(60, mendkit, sc), 0.99);
    print("--get-service-status", "bare program, same calls", Comparison::of(200, mendkit, bare), 1.05);
}

/// Serves a pipe as the management service does, until the process ends. Each request gets the same reply.
void serveReplies(const std::wstring& name)
{
    const UniqueFile pipe(CreateNamedPipeW(
        (L"\\\\.\\pipe\\" + name).c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 4096, 4096, 0, nullptr));
    const std::string reply("\x0b\0\0\0\x07\0\0\0\x02"
                            "C\0:\0\\\0",
        15);
    char request[4096];
    DWORD bytes = 0;
    for (;;) {
        ConnectNamedPipe(pipe.get(), nullptr);
        while (ReadFile(pipe.get(), request, 4, &bytes, nullptr) && bytes == 4) {
            DWORD length;
            memcpy(&length, request, sizeof length);
            ReadFile(pipe.get(), request, length, &bytes, nullptr);
            WriteFile(pipe.get(), reply.data(), static_cast<DWORD>(reply.size()), &bytes, nullptr);
        }
        DisconnectNamedPipe(pipe.get());
    }
}

struct SilentLog : IServiceLog
{
    void info(const std::wstring&) noexcept override {}
    void warning(const std::wstring&) noexcept override {}
    void error(const vexception&) noexcept override {}
};

void benchPipe()
{
    const std::wstring name = L"mendkit_bench_" + std::to_wstring(GetCurrentProcessId()), bareName = name + L"_bare";
    const RegistryOverride machine;
    setConfig(L"zrmpipe", name);
    std::thread(serveReplies, name).detach();
    std::thread(serveReplies, bareName).detach();
    Sleep(100);
    SilentLog log;
    KelvoSrvClient service(log);
    const auto client = [&] { service.getString(L"PRODUCT_ROOT_D"); };

    const UniqueFile pipe(CreateFileW(
        (L"\\\\.\\pipe\\" + bareName).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const std::string request(0x35, 'x');
    const auto bare = [&] {
        DWORD bytes = 0, length = static_cast<DWORD>(request.size());
        char reply[64];
        WriteFile(pipe.get(), &length, sizeof length, &bytes, nullptr);
        WriteFile(pipe.get(), request.data(), static_cast<DWORD>(request.size()), &bytes, nullptr);
        ReadFile(pipe.get(), &length, sizeof length, &bytes, nullptr);
        ReadFile(pipe.get(), reply, length, &bytes, nullptr);
    };
    client(), bare();
    print("getString over the pipe", "bare writes and reads", Comparison::of(3000, client, bare), 1.10);
}

/// Runs a program and reads its output with a bare loop. @return the bytes read
std::size_t readBare(const std::wstring& commandLine)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    UniqueFile reader, writer;
    CreatePipe(reader.receive(), writer.receive(), &inherit, 0);
    SetHandleInformation(reader.get(), HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = writer.get();
    PROCESS_INFORMATION process{};
    std::wstring scratch = commandLine;
    CreateProcessW(
        nullptr, scratch.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr, &startup, &process);
    writer.reset();
    char part[1024];
    std::size_t total = 0;
    for (DWORD bytes = 0; ReadFile(reader.get(), part, sizeof part, &bytes, nullptr) && bytes > 0;)
        total += bytes;
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return total;
}

void benchUtilities(const std::wstring& build)
{
    const std::wstring devpanel = build + L"\\devpanel\\devpanel.exe", bin = panelRoot() + L"\\admin\\bin\\";
    run(devpanel, L"install");
    run(devpanel, L"ensure");
    const auto mendkit = [&] { run(build + L"\\app\\mendkit.exe", L"--get-system-resources"); };
    const auto three = [&] { run(build + L"\\bench\\bare_system_resources.exe", L""); };
    mendkit(), three();
    print("--get-system-resources", "bare program, three utilities", Comparison::of(40, mendkit, three), 1.05);

    run(devpanel, L"ensure"); // ends after some seconds without a client
    // Measured last: from here on the client in this process occupies the stand-in's only connection.
    std::FILE* const script = _wfopen((bin + L"websrvmng.script").c_str(), L"w");
    std::fputs(requests ? "bytes 131072\n" : "bytes 67108864\n", script);
    std::fclose(script);
    std::size_t captured = 0;
    const auto utility = [&] {
        std::wstring output;
        execKelvoUtil(L"websrvmng", L"", &output, true, nullptr, false);
        captured = output.size();
    };
    const auto bare = [&] { readBare(L"\"" + bin + L"websrvmng.exe\" "); };
    PROCESS_MEMORY_COUNTERS before{}, after{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &before, sizeof before);
    utility();
    K32GetProcessMemoryInfo(GetCurrentProcess(), &after, sizeof after);
    print("a utility printing 64 MiB", "bare loop, 1024 bytes a read", Comparison::of(3, utility, bare), 1.10);
    if (!requests)
        std::printf("peak memory for its output: %.2f times the bytes (aim 4)\n",
            static_cast<double>(after.PeakWorkingSetSize - before.WorkingSetSize) / static_cast<double>(captured));
    DeleteFileW((bin + L"websrvmng.script").c_str());
}

/// Appends a line to a log file with the minimum of system calls: reads the switch and the directory, as every line
/// of every program of the panel does, and writes under the mutex.
void writeBareLine(const std::wstring& path, const std::wstring& text)
{
    HKEY key = nullptr;
    DWORD enabled = 1, size = sizeof enabled;
    wchar_t root[MAX_PATH];
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, config::configKey, 0, KEY_READ | KEY_WOW64_32KEY, &key);
    RegQueryValueExW(key, L"log_bare_enabled", nullptr, nullptr, reinterpret_cast<BYTE*>(&enabled), &size);
    size = sizeof root;
    RegQueryValueExW(key, L"PRODUCT_ROOT_D", nullptr, nullptr, reinterpret_cast<BYTE*>(root), &size);
    RegCloseKey(key);
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
    const RegistryOverride machine;
    setConfig(L"Debug", 1);
    setConfig(L"PRODUCT_ROOT_D", root);

    LogManager::settings().eventLog[0] = false; // measure the file only
    const std::wstring text(80, L'x');
    const auto line = [&] { LogManager::log(LogLevel::Info, L"%s", text.c_str()); };
    const auto bare = [&] { writeBareLine(bareLog, L"2026/11/16 04:53:12.345 4120 3388 Info: " + text + L"\r\n"); };
    line(), bare();
    print("a line of the debug log", "bare settings, lock, open, append", Comparison::of(4000, line, bare), 1.15);

    DeleteFileW((logs + L"\\kelvolog_debug" + VDateTime::local().compactDate() + L".log").c_str());
    DeleteFileW(bareLog.c_str());
    for (const std::wstring& directory : {logs, admin, root})
        RemoveDirectoryW(directory.c_str());
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 1;
    const std::wstring build = argv[2], only = argc > 3 ? argv[3] : L"";
    if (std::wstring(L"count") == argv[1])
        requests.emplace(build + L"\\bench\\server.log");
    if (std::wstring(L"figures") != argv[1] && !openCountedRows(build + L"\\bench\\counted_rows.txt"))
        return 1;
    const auto wanted = [&](const wchar_t* group) { return only.empty() || only == group; };
    if (wanted(L"pipe"))
        benchPipe();
    if (wanted(L"status"))
        benchServiceStatus(build);
    if (wanted(L"log"))
        benchLogLine();
    if (wanted(L"cleaning"))
        benchCleaning(build);
    if (wanted(L"listing"))
        benchListing(build);
    if (wanted(L"utilities")) // last: occupies the stand-in's only connection
        benchUtilities(build);
    return 0;
}
