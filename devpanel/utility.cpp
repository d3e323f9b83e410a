// Stand-in for the panel's utilities, installed under the name of each. sysinfo prints this machine's figures. The
// others append their arguments to var\devpanel.log and exit with 0. None restarts or repairs anything.
//
// With a file <name>.script beside the program, the program runs this script instead. It has one step per line:
//   out <text> | err <text> | bytes <count> | hex <byte> | read | child <milliseconds> | talker <milliseconds>
//   | sleep <milliseconds> | note <text> | desktop | exit <code> | crash

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

std::wstring programPath()
{
    wchar_t path[1024];
    GetModuleFileNameW(nullptr, path, 1024);
    return path;
}

std::string narrow(const std::wstring& text)
{
    std::string result(text.size() * 3, '\0');
    result.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.c_str(),
        static_cast<int>(text.size()), result.data(), static_cast<int>(result.size()), nullptr, nullptr)));
    return result;
}

void note(const std::string& text)
{
    const std::wstring bin = programPath().substr(0, programPath().rfind(L'\\'));
    std::ofstream((bin + L"\\..\\..\\var\\devpanel.log").c_str(), std::ios::app) << text << std::endl;
}

/// The bytes of a line "Name:   123 kB" of the host's memory figures. Wine shows the host's files on drive Z:.
unsigned long long memoryFigure(const std::string& name)
{
    std::ifstream figures("Z:\\proc\\meminfo");
    for (std::string line; std::getline(figures, line);) {
        if (line.starts_with(name + ":"))
            return std::strtoull(line.c_str() + name.size() + 1, nullptr, 10) * 1024;
    }
    return 0;
}

void printMemory(unsigned long long all, unsigned long long left)
{
    std::printf("Total: %llu\nFree: %llu\nUsed: %llu\n", all, left, all - left);
}

int sysinfo(const std::wstring& what)
{
    if (what == L"loadavg") {
        std::string line = "0.25 0.50 0.75 1/100 1"; // Windows has no such figures
        std::ifstream host("Z:\\proc\\loadavg");
        if (host)
            std::getline(host, line);
        std::puts(line.c_str());
        return 0;
    }
    if (what != L"memory" && what != L"swap")
        return 1;
    const bool isMemory = what == L"memory";
    unsigned long long all = memoryFigure(isMemory ? "MemTotal" : "SwapTotal"),
                       left = memoryFigure(isMemory ? "MemAvailable" : "SwapFree");
    if (memoryFigure("MemTotal") == 0) { // not under Wine
        MEMORYSTATUSEX status{};
        status.dwLength = sizeof status;
        GlobalMemoryStatusEx(&status);
        all = isMemory ? status.ullTotalPhys : status.ullTotalPageFile;
        left = isMemory ? status.ullAvailPhys : status.ullAvailPageFile;
    }
    printMemory(all, left);
    return 0;
}

/// Starts a process that inherits the output, and does not wait for its end. @param word  --sleep or --talk
void leaveChild(const std::wstring& word, const std::string& milliseconds)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    std::wstring commandLine = L"x " + word + L" " + std::wstring(milliseconds.begin(), milliseconds.end());
    CreateProcessW(
        programPath().c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
}

std::string nameOf(HANDLE object)
{
    const auto query = reinterpret_cast<decltype(&GetUserObjectInformationW)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetUserObjectInformationW")));
    wchar_t name[256] = L"none";
    DWORD size = 0;
    query(object, UOI_NAME, name, sizeof name, &size);
    return narrow(name);
}

/// Prints the window station and the desktop of this process, as every program with windows connects to them.
void printDesktop()
{
    const HMODULE user = LoadLibraryW(L"user32.dll");
    if (!user)
        return void(std::printf("user32 is not loaded (%lu)\n", GetLastError()));
    const auto station = reinterpret_cast<decltype(&GetProcessWindowStation)>(
        reinterpret_cast<void*>(GetProcAddress(user, "GetProcessWindowStation")));
    const auto desktop = reinterpret_cast<decltype(&GetThreadDesktop)>(
        reinterpret_cast<void*>(GetProcAddress(user, "GetThreadDesktop")));
    std::printf("%s\\%s\n", nameOf(station()).c_str(), nameOf(desktop(GetCurrentThreadId())).c_str());
}

int runScript(std::ifstream& script)
{
    std::string line;
    while (std::getline(script, line)) {
        const std::string step = line.substr(0, line.find(' ')),
                          rest = line.substr(std::min(step.size() + 1, line.size()));
        if (step == "out") {
            std::printf("%s\n", rest.c_str());
        } else if (step == "err") {
            std::fprintf(stderr, "%s\n", rest.c_str());
        } else if (step == "hex") {
            std::putchar(static_cast<int>(std::strtoul(rest.c_str(), nullptr, 16)));
        } else if (step == "bytes") {
            const std::string block(65'536, 'x');
            for (std::size_t left = std::strtoul(rest.c_str(), nullptr, 10); left > 0;)
                left -= std::fwrite(block.data(), 1, std::min(left, block.size()), stdout);
        } else if (step == "read") {
            std::string all((std::istreambuf_iterator<char>(std::cin)), {});
            std::printf("%zu\n", all.size());
        } else if (step == "child") {
            leaveChild(L"--sleep", rest);
        } else if (step == "talker") {
            leaveChild(L"--talk", rest);
        } else if (step == "sleep") {
            Sleep(std::strtoul(rest.c_str(), nullptr, 10));
        } else if (step == "note") {
            note(rest);
        } else if (step == "desktop") {
            printDesktop();
        } else if (step == "crash") {
            TerminateProcess(GetCurrentProcess(), 0xc0000005);
        } else if (step == "exit") {
            std::fflush(stdout);
            ExitProcess(std::strtoul(rest.c_str(), nullptr, 10));
        }
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const std::wstring word = argc == 3 ? argv[1] : L"";
    if (word == L"--sleep" || word == L"--talk") {
        for (int left = _wtoi(argv[2]); left > 0; left -= 100) {
            std::fputs(word == L"--talk" ? "x" : "", stdout);
            std::fflush(stdout);
            Sleep(100);
        }
        return 0;
    }
    const std::wstring path = programPath(), file = path.substr(path.rfind(L'\\') + 1),
                       name = file.substr(0, file.rfind(L'.'));
    std::ifstream script((path.substr(0, path.rfind(L'.')) + L".script").c_str());
    if (script)
        return runScript(script);
    if (name == L"sysinfo")
        return sysinfo(argc > 1 ? argv[1] : L"");

    const std::wstring commandLine = GetCommandLineW();
    note(narrow(name + commandLine.substr(std::min(commandLine.find(L"\" ") + 1, commandLine.size()))));
    if (name == L"send-error-report") {
        std::string report((std::istreambuf_iterator<char>(std::cin)), {});
        note(report);
    }
    return 0;
}
