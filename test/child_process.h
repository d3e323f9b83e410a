#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A program run to its end, its standard output (and, merged, its standard error) captured.
struct ChildResult
{
    std::uint32_t exitCode;
    std::string output; // raw bytes: lines end in CR LF
};

/// Runs a program to its end. @param capture  false: it gets the standard handles of this process
ChildResult runChild(const std::wstring& program, const std::wstring& arguments, bool capture = true);

/// The programs of the build, as paths: mendkit.exe, the stand-ins in test/.
std::wstring builtProgram(const std::wstring& relative);

/// Starts the same call many times at once; the exit codes.
std::vector<std::uint32_t> runMany(const std::wstring& program, const std::wstring& arguments, int count);
