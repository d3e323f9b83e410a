// What keeps the kit itself from emptying a directory of the system's volume.

#include "proof/facts/cleaning.h"

/// Facts about the kit.
class Kit : public TreeRun
{
protected:
    ~Kit() override { SetEnvironmentVariableW(L"MENDKIT_PROOF", wasSet_ ? L"1" : nullptr); }

    const bool wasSet_ = kit::isRunning();
};

TEST_F(Kit, RefusesDirectoriesOfTheSystemsVolume)
{
    wchar_t windows[MAX_PATH];
    GetSystemWindowsDirectoryW(windows, MAX_PATH);
    const std::wstring system = windows, drive = system.substr(0, 2);
    SetEnvironmentVariableW(L"MENDKIT_PROOF", L"1");
    ASSERT_TRUE(tree.make(directory(L"dumps")));
    std::vector<std::pair<std::wstring, std::wstring>> rows = {{system + L"\\mendkit_none\\x", tree.at(L"dumps")},
        {tree.at(L"panel"), system + L"\\Temp"}, {tree.at(L"panel"), drive + L"\\mendkit_none\\x"},
        {tree.at(L"panel"), L"\\\\?\\" + drive + L"\\mendkit_none"}, {L"", tree.at(L"dumps")}};
    if (tree.canLink()) {
        ASSERT_TRUE(tree.make(junction(L"link", system + L"\\Temp")) &&
                    tree.make(junction(L"other\\tmp", system + L"\\Temp")));
        rows.emplace_back(tree.at(L"panel"), tree.at(L"link"));
        rows.emplace_back(tree.at(L"other"), tree.at(L"dumps"));
    }
    for (const auto& [panel, dumps] : rows) {
        const ChildResult result = runChild(devpanel, L"serve 0 guard \"" + panel + L"\" \"" + dumps + L"\"");
        EXPECT_EQ(1u, result.exitCode) << "a directory of the system's volume may be emptied: "
                                       << testing::PrintToString(panel) << testing::PrintToString(dumps);
        EXPECT_NE(std::string::npos, result.output.find("the kit must not have it emptied")) << result.output;
    }
    tree.remove(L"link");
    tree.remove(L"other\\tmp");
    // And serves directories of another volume, existing or not.
    terminate(*serve(L"0", L"guard", tree.expanded(L"@\\panel @\\dumps")));
}
