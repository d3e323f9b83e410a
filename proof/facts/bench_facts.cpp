// The bench's times on this machine, as ratios to bare programs. They are figures of the report, not limits.

#include "proof/facts/needs.h"
#include "test/program.h"

#include <iostream>

class BenchCost : public ProgramRun, public testing::WithParamInterface<const char*>
{
};

TEST_P(BenchCost, OfTheBench)
{
    NEEDS_DISK();
    const std::string part = GetParam();
    const std::wstring folder = path::combine(moduleFileName(), L"..\\..");
    const ChildResult result = runChild(
        builtProgram(L"bench\\bench.exe"), L"figures \"" + folder + L"\" " + std::wstring(part.begin(), part.end()));
    EXPECT_EQ(0u, result.exitCode) << "the bench failed: " << result.output;
    EXPECT_EQ(0u, result.output.find("Figure: ")) << "the bench printed no figure: " << result.output;
    std::cout << result.output;
}

INSTANTIATE_TEST_SUITE_P(
    Of, BenchCost, testing::Values("status", "log", "pipe", "utilities"), [](const auto& row) { return row.param; });
