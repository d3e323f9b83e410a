#pragma once

#include "bench/comparison.h"
#include "runtime/handle/handles.h"

#include <psapi.h>

#include <cstdio>
#include <string>

/// Runs a program with its output discarded. Repeats a failed run; the third failure in all ends the bench.
/// @return the program's peak working set in bytes, sampled every 20 milliseconds; 0 in the pass that counts requests
inline std::size_t run(const std::wstring& program, const std::wstring& arguments)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    static const UniqueFile nowhere(CreateFileW(L"NUL", GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = nowhere.get();
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    PROCESS_INFORMATION process{};
    while (!CreateProcessW(
        program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        if (GetLastError() == ERROR_INTERNAL_ERROR) // Wine fails about one start in several thousand with this
            continue;
        std::printf("cannot start %ls: %lu\n", program.c_str(), GetLastError());
        ExitProcess(1);
    }
    const DWORD interval = requests ? INFINITE : 20;
    PROCESS_MEMORY_COUNTERS memory{};
    while (WaitForSingleObject(process.hProcess, interval) == WAIT_TIMEOUT)
        K32GetProcessMemoryInfo(process.hProcess, &memory, sizeof memory);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    static int failures = 0;
    if (code != 0) {
        std::printf("%ls failed with %lu\n", program.c_str(), code);
        if (++failures > 2) // Wine also fails the starts of the program's own children
            ExitProcess(1);
        return run(program, arguments);
    }
    return memory.PeakWorkingSetSize;
}
