// An attacker with write access to a cleaned directory acts before each file operation of a run. Only the Wine of
// scripts/test --links can stop the program before its file operations.

#include "test/link_run.h"

#include <iostream>

namespace {

/// How the attacker changes a directory or a file of the cleaned tree. The links lead to the canaries, files with the
/// same names outside of the cleaned tree.
enum class Way
{
    swap,       // renames it and puts a junction in its place
    swapHeld,   // the same, through a handle opened with DELETE before the run
    swapByLink, // the same with a relative symbolic link
    turn,       // empties it and turns it into a junction; works while the program has it open
    replace,    // a file: removes it and puts a symbolic link in its place
    replaceByJunction
};

struct Attack
{
    const char* name;
    Way way;
    const wchar_t* path;
    int undoneAfter = 0; // number of operations after which it is undone; 0: never
} const attacks[] = {
    {"SwapParent", Way::swap, L"area"},
    {"SwapCleaned", Way::swap, L"area\\dumps"},
    {"SwapInner", Way::swap, L"area\\dumps\\dir"},
    {"SwapInnermost", Way::swap, L"area\\dumps\\dir\\sub"},
    {"SwapCleanedHeld", Way::swapHeld, L"area\\dumps"},
    {"SwapInnerHeld", Way::swapHeld, L"area\\dumps\\dir"},
    {"SwapParentByLink", Way::swapByLink, L"area"},
    {"SwapInnerByLink", Way::swapByLink, L"area\\dumps\\dir"},
    {"SwapParentAndBack", Way::swap, L"area", 1},
    {"SwapInnerAndBack", Way::swap, L"area\\dumps\\dir", 1},
    {"SwapInnerHeldAndBack", Way::swapHeld, L"area\\dumps\\dir", 1},
    {"TurnCleaned", Way::turn, L"area\\dumps"},
    {"TurnInner", Way::turn, L"area\\dumps\\dir"},
    {"TurnInnermost", Way::turn, L"area\\dumps\\dir\\sub"},
    {"ReplaceFile", Way::replace, L"area\\dumps\\a"},
    {"ReplaceInnerFile", Way::replace, L"area\\dumps\\dir\\b"},
    {"ReplaceFileByJunction", Way::replaceByJunction, L"area\\dumps\\a"},
    {"ReplaceInnerFileByJunction", Way::replaceByJunction, L"area\\dumps\\dir\\b"},
};

/// GoogleTest prints the row's name.
void PrintTo(const Attack& attack, std::ostream* out)
{
    *out << attack.name;
}

/// The folder's Unix name, which WINERP_TRAP takes; empty on Windows.
std::wstring unixName(const std::wstring& path)
{
    using Function = char*(__cdecl*)(const wchar_t*);
    const auto function = reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    char* const name = function ? function(path.c_str()) : nullptr;
    const std::string found = name ? name : "";
    HeapFree(GetProcessHeap(), 0, name);
    return {found.begin(), found.end()};
}

class LinkRaces : public LinkRun, public testing::WithParamInterface<std::tuple<Attack, const wchar_t*>>
{
protected:
    ~LinkRaces() override
    {
        for (const wchar_t* variable : {L"WINERP_TRAP", L"WINERP_TRAP_AT", L"WINERP_OLD"})
            SetEnvironmentVariableW(variable, nullptr);
    }

    void makeScenario() const
    {
        tree.clear();
        for (const std::wstring place : {L"", L"canary\\"}) {
            for (const wchar_t* name : {L"area\\dumps\\a", L"area\\dumps\\dir\\b", L"area\\dumps\\dir\\sub\\c"})
                ASSERT_TRUE(tree.make(file(place + name))) << GetLastError();
        }
        ASSERT_TRUE(tree.make(junction(L"area\\dumps\\j", L"@\\canary\\area\\dumps")));
        ASSERT_TRUE(tree.make(directory(L"trap")) && tree.make(directory(L"away")));
    }

    bool act()
    {
        const std::wstring path = attack.path, canary = L"@\\canary\\" + path;
        switch (attack.way) {
        case Way::swap:
            return tree.rename(path, away_) && tree.make(junction(path, canary).with(ofOthers));
        case Way::swapHeld:
            return tree.rename(held_.get(), away_) && tree.make(junction(path, canary).with(ofOthers));
        case Way::swapByLink: {
            std::wstring up;
            for (const wchar_t letter : path)
                up += letter == L'\\' ? L"..\\" : L"";
            return tree.rename(path, away_) && tree.make(directoryLink(path, up + L"canary\\" + path).with(ofOthers));
        }
        case Way::turn: {
            for (const auto& [name, content] : tree.snapshot(path)) {
                const std::wstring own = name.substr(path.size() + 1);
                if (own.find(L'\\') == std::wstring::npos && !tree.rename(name, L"away\\" + own))
                    return false;
            }
            return tree.turnIntoLink(junction(path, canary).with(ofOthers));
        }
        case Way::replace:
            return tree.remove(path) && tree.make(fileLink(path, canary).with(ofOthers));
        case Way::replaceByJunction:
            return tree.remove(path) && tree.make(junction(path, L"@\\canary\\area\\dumps\\dir").with(ofOthers));
        }
        return false;
    }

    void undo()
    {
        tree.remove(attack.path);
        if (attack.way == Way::swapHeld)
            tree.rename(held_.get(), attack.path);
        else
            tree.rename(away_, attack.path);
    }

    /// One run with an attack before the operation with this number.
    /// @return whether the run had this operation, and had not yet removed its last file
    bool attackAt(int operation)
    {
        makeScenario();
        const Snapshot canaries = tree.snapshot(L"canary");
        if (attack.way == Way::swapHeld)
            held_ = tree.open(attack.path, DELETE);
        std::wstring stops = std::to_wstring(operation);
        if (attack.undoneAfter != 0)
            stops += L',' + std::to_wstring(operation + attack.undoneAfter);
        SetEnvironmentVariableW(L"WINERP_TRAP", unixName(tree.at(L"trap")).c_str());
        SetEnvironmentVariableW(L"WINERP_TRAP_AT", stops.c_str());

        vexecutil child;
        child.path = builtProgram(L"app\\mendkit.exe");
        child.arguments = L"--free-disk-space";
        child.stdoutFile = root.path() + L"\\output.log";
        startPatiently(child);
        int reached = 0;
        bool hasLanded = false, isDone = false;
        const ULONGLONG begun = GetTickCount64();
        while (!child.waitForExit(1) && GetTickCount64() - begun < 30'000) {
            if (!tree.remove(L"trap\\go"))
                continue;
            if (++reached == 1) {
                isDone = !tree.open(L"area\\dumps\\a", FILE_READ_ATTRIBUTES); // the file removed last
                hasLanded = act();
            } else if (hasLanded) {
                undo();
            }
            tree.make(file(L"trap\\done"));
        }
        EXPECT_TRUE(child.waitForExit(0)) << "operation " << operation;
        terminate(child);
        held_.reset();
        EXPECT_GE(1u, child.exitCode());
        const Snapshot left = tree.snapshot(L"canary");
        if (left != canaries) {
            ADD_FAILURE() << "Before operation " << operation << ": of " << canaries.size() << " canaries "
                          << left.size() << " are left";
            lost += static_cast<int>(canaries.size() - left.size());
        }
        made += reached > 0;
        landed += hasLanded;
        return reached > 0 && !isDone;
    }

    const Attack& attack = std::get<0>(GetParam());
    int made = 0, landed = 0, lost = 0;

private:
    const std::wstring away_ = L"away\\moved";
    UniqueFile held_;
};

} // namespace

TEST_P(LinkRaces, RemoveNoCanary)
{
    if (unixName(tree.at(L"")).empty())
        GTEST_SKIP() << "Only the Wine of scripts/test --links stops the program";
    SetEnvironmentVariableW(L"WINERP_OLD", std::get<1>(GetParam()));
    const auto service = servePanel(L"@\\area\\dumps");
    const bool isSample = std::get<1>(GetParam()) && !_wgetenv(L"MENDKIT_TEST_FULL");
    for (int operation = 1; operation < 500 && attackAt(operation) && !HasFailure();)
        operation += isSample ? 3 : 1;
    terminate(*service);
    EXPECT_LT(15, made) << "a run has more file operations";
    EXPECT_LT(0, landed);
    EXPECT_EQ(0, lost);
    std::cout << "Figure: links, " << testing::UnitTest::GetInstance()->current_test_info()->name() << ": " << made
              << " attacks, " << landed << " landed, " << lost << " canaries lost\n";
}

INSTANTIATE_TEST_SUITE_P(
    At, LinkRaces, testing::Combine(testing::ValuesIn(attacks), testing::Values(nullptr, L"1")), [](const auto& row) {
        return std::string(std::get<0>(row.param).name) + (std::get<1>(row.param) ? "BeforeWindows10" : "");
    });
