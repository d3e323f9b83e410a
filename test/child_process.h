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

/// Starts a program and captures what it writes; it dies with this process.
/// @param output  what the child gets as standard output instead of the capture: null for the capture
ChildResult runChild(const std::wstring& program, const std::wstring& arguments, void* output = nullptr);

/// The programs of the build, as paths: mendkit.exe, the stand-ins in test/.
std::wstring builtProgram(const std::wstring& relative);

/// Starts the same call many times at once; the exit codes.
std::vector<std::uint32_t> runMany(const std::wstring& program, const std::wstring& arguments, int count);
