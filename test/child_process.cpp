#include "test/child_process.h"

#include "runtime/module.h"
#include "runtime/path.h"
#include "system/vexecutil.h"

#include <gtest/gtest.h>

namespace {

/// Wine fails about one start in some thousands with this error; Windows has no such habit.
void startPatiently(vexecutil& child)
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

std::uint32_t waitFor(const vexecutil& child)
{
    EXPECT_TRUE(child.waitForExit(50'000));
    return child.exitCode();
}

} // namespace

ChildResult runChild(const std::wstring& program, const std::wstring& arguments, bool capture)
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
    result.exitCode = waitFor(child);
    return result;
} catch (const vexception& failure) { // GoogleTest would not say what it was
    ADD_FAILURE() << testing::PrintToString(failure.fullText());
    throw;
}

std::vector<std::uint32_t> runMany(const std::wstring& program, const std::wstring& arguments, int count)
{
    std::vector<vexecutil> children(static_cast<std::size_t>(count));
    std::vector<std::uint32_t> codes;
    for (vexecutil& child : children) {
        child.path = program;
        child.arguments = arguments;
        child.stdoutFile = L"NUL";
        startPatiently(child);
    }
    for (const vexecutil& child : children)
        codes.push_back(waitFor(child));
    return codes;
}

std::wstring builtProgram(const std::wstring& relative)
{
    return path::combine(moduleFileName(), L"..\\..\\" + relative);
}
