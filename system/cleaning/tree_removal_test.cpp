#include "system/cleaning/tree_removal.h"

#include "system/cleaning/directory_walk.h"
#include "test/replaced_import.h"
#include "test/scripted_directory_source.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

/// \vol\clean\top with directories, files and links, and \vol\outside, which must not change.
struct Tree
{
    ScriptedSource source;
    Node *clean = source.add(source.volume, L"clean"), *outside = source.add(source.volume, L"outside");
    Node *top = source.add(clean, L"top"), *inner = source.add(top, L"inner");

    Tree()
    {
        for (Node* const directory :
            {top, inner, outside, source.add(outside, L"top"), source.add(outside, L"inner")}) {
            for (const wchar_t* name : {L"a", L"b"})
                source.add(directory, name, ObjectKind::file);
        }
        source.link(top, L"junction", outside);
        source.link(inner, L"deep", outside);
        source.add(outside, L"canary", ObjectKind::file);
    }

    DWORD removeTop()
    {
        WalkedDirectory parent{{OpenObject(source), {}}, {}};
        RetryBudget retries(0);
        BoundedRemoval bounded(source);
        const DWORD code = openCleanedDirectory(source, L"X:\\clean", parent);
        return code == ERROR_SUCCESS ? TreeRemoval(source, bounded, retries).removeTree(parent.at, L"top") : code;
    }
};

using Attack = void (*)(Tree& tree);

/// Changes by an attacker with all rights in the cleaned directory, between two steps of the removal. On Windows he
/// could do less: there, directories that are open cannot be renamed.
const Attack attacks[] = {
    [](Tree& t) { t.source.replaceByLink(t.top, t.outside); },
    [](Tree& t) { t.source.replaceByLink(t.inner, t.outside); },
    [](Tree& t) { t.source.turnIntoLink(t.top, t.outside); },
    [](Tree& t) { t.source.turnIntoLink(t.inner, t.outside); },
    [](Tree& t) { t.source.turnIntoLink(t.clean, t.outside); },
    [](Tree& t) { t.source.replaceByLink(t.clean, t.outside); },
    [](Tree& t) { t.source.replaceByLink(ScriptedSource::find(t.inner, L"a"), t.outside); },
    [](Tree& t) { t.source.add(t.inner, L"late", ObjectKind::file); },
    [](Tree& t) { t.source.detach(ScriptedSource::find(t.inner, L"b")); }, [](Tree& t) { t.source.detach(t.inner); },
    [](Tree&) {}, // no attack
};

ULONGLONG WINAPI slowTime()
{
    static ULONGLONG now = 0;
    return now += 300;
}

} // namespace

TEST(RetryBudget, ChargesPausesWithTheTimeThatTheyTook)
{
    const ReplacedImport time("GetTickCount64", slowTime);
    RetryBudget retries(2000);
    int attempts = 0;
    const auto attempt = [&] { return ++attempts, DWORD{ERROR_SHARING_VIOLATION}; };
    retries.repeat(attempt);
    EXPECT_EQ(8, attempts) << "seven pauses of 300 ms and the rest of the budget";
    retries.repeat(attempt);
    EXPECT_EQ(9, attempts) << "nothing is left";
}

TEST(TreeRemoval, RemovesNothingOutsideWhenTheTreeChangesBetweenSteps)
{
    int steps = 1;
    for (const Attack& attack : attacks) {
        int removals = 0;
        for (int at = 0; at <= steps; ++at) {
            Tree tree;
            const std::wstring before = tree.source.content(tree.outside);
            tree.source.disturb = [&](int step) {
                if (step == at)
                    attack(tree);
            };
            removals += tree.removeTop() == ERROR_SUCCESS ? 1 : 0;
            steps = std::max(steps, tree.source.steps);
            ASSERT_EQ(before, tree.source.content(tree.outside)) << &attack - attacks << " at step " << at;
            ASSERT_EQ(0, tree.source.openObjects) << "objects left open";
        }
        EXPECT_GT(removals, 0);
    }
    EXPECT_GT(steps, 40);
}
