#pragma once

#include "runtime/module.h"
#include "runtime/path.h"
#include "system/process/vexecutil.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

/// A program run to its end, its standard output (and, merged, its standard error) captured.
struct ChildResult
{
    std::uint32_t exitCode;
    std::string output; // raw bytes: lines end in CR LF
};

/// Wine fails about one start in some thousands with this error; Windows has no such habit.
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

/// Runs a program to its end. @param capture  false: it gets the standard handles of this process
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
} catch (const vexception& failure) { // GoogleTest would not say what it was
    ADD_FAILURE() << testing::PrintToString(failure.fullText());
    throw;
}

/// A program of the build, by its path there.
inline std::wstring builtProgram(const std::wstring& relative)
{
    return path::combine(moduleFileName(), L"..\\..\\" + relative);
}
