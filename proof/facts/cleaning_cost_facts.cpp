// What the cleaning costs beside the tools that administrators use for it.

#include "proof/facts/cleaning.h"
#include "proof/facts/suites.h"

#include <algorithm>
#include <iostream>

namespace {

const int folders = kit::isWine() ? 10 : 100; // Wine's rd is slow
constexpr int filesInEach = 50;

void fill(const LinkTree& tree)
{
    ASSERT_TRUE(tree.make(directory(L"dumps")));
    for (int folder = 0; folder < folders; ++folder) {
        const std::wstring path = tree.at(L"dumps\\" + std::to_wstring(folder));
        ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
        for (int number = 0; number < filesInEach; ++number)
            UniqueFile(CreateFileW(
                (path + L"\\" + std::to_wstring(number)).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    }
}

template <typename Action>
ULONGLONG millisecondsOf(const Action& action)
{
    const ULONGLONG begun = GetTickCount64();
    action();
    return GetTickCount64() - begun;
}

/// @param run  removes a new tree and returns its milliseconds @return those; on Windows the median of three runs.
/// 0: a tree was not removed
template <typename Run>
ULONGLONG timeOf(const LinkTree& tree, const Run& run)
{
    std::vector<ULONGLONG> times;
    for (int round = 0; round < (kit::isWine() ? 1 : 3); ++round) {
        fill(tree);
        times.push_back(std::max<ULONGLONG>(run(), 1));
        const bool isLeft = static_cast<bool>(tree.open(L"dumps\\0", FILE_READ_ATTRIBUTES));
        tree.clear();
        if (isLeft)
            return 0;
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

TEST_F(Cost, Cleaning)
{
    const LinkTree tree;
    if (!tree.exists())
        GTEST_SKIP() << "there is no volume for trees that are cleaned";
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring shell = std::wstring(system) + L"\\cmd.exe",
                       powerShell = std::wstring(system) + L"\\WindowsPowerShell\\v1.0\\powershell.exe",
                       dumps = tree.at(L"dumps");
    setConfig(L"zrmpipe", L"cost");
    setConfig(L"SendFeedback", L"false");
    const ULONGLONG own = timeOf(tree, [&] {
        const auto service = serve(L"0", L"cost", tree.expanded(L"@\\panel @\\dumps"));
        const ULONGLONG time = millisecondsOf([] { EXPECT_EQ(0u, run(L"--free-disk-space").exitCode); });
        terminate(*service);
        return time;
    });
    EXPECT_LT(0u, own) << "the tree was not removed";
    const ULONGLONG rd =
        timeOf(tree, [&] { return millisecondsOf([&] { runChild(shell, L"/d /c rd /s /q \"" + dumps + L"\""); }); });
    std::cout << "Figure: cleaning " << folders * filesInEach << " files: the program " << own << " ms, rd /s /q "
              << rd << " ms\n";
    SKIP_UNDER_WINE("no PowerShell, and its times are not those of Windows");
    if (GetFileAttributesW(powerShell.c_str()) == INVALID_FILE_ATTRIBUTES)
        GTEST_SKIP() << "this machine has no PowerShell";
    const std::wstring command =
        L"-NoProfile -NonInteractive -Command \"Remove-Item -LiteralPath '" + dumps + L"' -Recurse -Force\"";
    const ULONGLONG removeItem = timeOf(tree, [&] { return millisecondsOf([&] { runChild(powerShell, command); }); });
    std::cout << "Figure: the same files by Remove-Item -Recurse: " << removeItem << " ms\n";
    if (rd == 0 || removeItem == 0)
        GTEST_SKIP() << "another tool does not remove the tree here";
    // A wide bound: how long security products take over an unknown program is not the program's.
    EXPECT_LT(own, 10 * std::max(rd, removeItem) + 5000) << "the program is far slower than the system's own tools";
}
