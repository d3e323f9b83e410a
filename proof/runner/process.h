#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// How a process ended.
struct ProcessResult
{
    std::uint32_t exitCode;
    bool isInTime;      // false: it was ended together with the processes that it had started
    std::string output; // standard output and standard error in one text
};

/// Runs a program to its end, in a job: its processes end with it, except services.
/// @param commandLine  the quoted program and its arguments
/// @param limit        milliseconds
/// @throws vosexception when it cannot be started
ProcessResult runProcess(std::wstring commandLine, DWORD limit);
