#pragma once

#include "runtime/handle/handles.h"

#include <psapi.h>

#include <cstdio>
#include <string>

/// Starts a program with its output thrown away and waits for its end.
/// @return its peak working set in bytes, as far as a look every few milliseconds shows it
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
        if (GetLastError() == ERROR_INTERNAL_ERROR) // Wine fails about one start in some thousands with this
            continue;
        std::printf("cannot start %ls: %lu\n", program.c_str(), GetLastError());
        ExitProcess(1);
    }
    constexpr DWORD look = 20;
    PROCESS_MEMORY_COUNTERS memory{};
    while (WaitForSingleObject(process.hProcess, look) == WAIT_TIMEOUT)
        K32GetProcessMemoryInfo(process.hProcess, &memory, sizeof memory);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    static int failures = 0;
    if (code != 0) {
        std::printf("%ls failed with %lu\n", program.c_str(), code);
        if (++failures > 2) // the starts of a program's own children fail as rarely
            ExitProcess(1);
        return run(program, arguments);
    }
    return memory.PeakWorkingSetSize;
}
