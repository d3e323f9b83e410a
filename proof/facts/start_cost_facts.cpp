// What a start costs.

#include "proof/facts/needs.h"
#include "proof/facts/suites.h"

#include <algorithm>

namespace {

/// Milliseconds of a run.
double timeOf(const std::wstring& program, const std::wstring& arguments)
{
    LARGE_INTEGER frequency, begun, ended;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&begun);
    EXPECT_EQ(0u, runChild(program, arguments).exitCode);
    QueryPerformanceCounter(&ended);
    return 1000.0 * static_cast<double>(ended.QuadPart - begun.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double median(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

TEST_F(Cost, Start)
{
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring sc = system + std::wstring(L"\\sc.exe"), own = builtProgram(L"app\\mendkit.exe");
    std::vector<double> ours, theirs;
    const int rounds = kit::isWine() ? 5 : 31;
    for (int round = 0; round < rounds; ++round) { // in turns: the machine's load changes
        ours.push_back(timeOf(own, L"--get-service-status --name=PlugPlay"));
        theirs.push_back(timeOf(sc, L"query PlugPlay"));
    }
    std::printf("Figure: --get-service-status takes %.1f ms, sc query %.1f ms, the ratio is %.2f\n", median(ours),
        median(theirs), median(ours) / median(theirs));
    // A wide bound: security products check an unknown program longer than a part of the system.
    EXPECT_LT(median(ours), 10 * median(theirs) + 500) << "the start does far more than sc query does";
}
