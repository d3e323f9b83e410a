#pragma once

#include "runtime/module.h"
#include "runtime/path.h"
#include "system/process/vexecutil.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

/// The result of a program: its exit code, and its standard output and standard error in one text.
struct ChildResult
{
    std::uint32_t exitCode;
    std::string output; // raw bytes: lines end in CR LF
};

/// Starts a program. Repeats a start that fails with ERROR_INTERNAL_ERROR: Wine fails about one start in 3,000,
/// Windows does not.
inline void startPatiently(vexecutil& child)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        try {
            return child.start();
        } catch (const vosexception& failure) {
            if (failure.code() != ERROR_INTERNAL_ERROR)
                throw;
        }
    }
    child.start();
}

/// Ends a program if it still runs. The product never ends a child.
inline void terminate(const vexecutil& child)
{
    TerminateProcess(child.process.get(), 1);
    WaitForSingleObject(child.process.get(), 5000);
}

/// Runs a program to its end. @param capture  false: the program inherits the standard handles of this process
inline ChildResult runChild(const std::wstring& program, const std::wstring& arguments, bool capture = true)
try {
    vexecutil child;
    child.path = program;
    child.arguments = arguments;
    child.captureStdout = child.stderrToStdout = capture;
    child.inheritHandles = !capture;
    startPatiently(child);
    ChildResult result{};
    char buffer[4096];
    while (const std::size_t count = capture ? child.stdoutPipe.read(buffer, sizeof buffer, 0) : 0)
        result.output.append(buffer, count);
    EXPECT_TRUE(child.waitForExit(50'000));
    result.exitCode = child.exitCode();
    return result;
} catch (const vexception& failure) { // GoogleTest would not print its text
    ADD_FAILURE() << testing::PrintToString(failure.fullText());
    throw;
}

/// The full path of a program. @param relative  its path in the build folder
inline std::wstring builtProgram(const std::wstring& relative)
{
    return path::combine(moduleFileName(), L"..\\..\\" + relative);
}
