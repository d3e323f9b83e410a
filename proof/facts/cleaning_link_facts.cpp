// Links that other accounts put into cleaned directories and into the paths of cleaned directories.

#include "proof/facts/cleaning.h"

TEST_F(Cleaning, Links)
{
    NEEDS_LINKS()
    makeCanaries();
    const Snapshot canaries = tree.snapshot(L"canary");
    makeOpenDirectory(L"dumps");
    {
        const auto account = asOrdinaryAccount();
        // An ordinary account may make junctions; symbolic links need a privilege.
        ASSERT_TRUE(makeAll({junction(L"dumps\\junction", L"@\\canary"), junction(L"dumps\\volume", L"%"),
            junction(L"dumps\\x\\deep", L"@\\canary\\dir")}));
    }
    ASSERT_TRUE(makeAll({directoryLink(L"dumps\\absolute", L"@\\canary"),
        directoryLink(L"dumps\\relative", L"..\\canary"), directoryLink(L"dumps\\rooted", L"#\\canary"),
        fileLink(L"dumps\\absolute file", L"@\\canary\\a"), fileLink(L"dumps\\relative file", L"..\\canary\\a"),
        fileLink(L"dumps\\rooted file", L"#\\canary\\a"), fileLink(L"dumps\\leads nowhere", L"nothing")}));
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(canaries == tree.snapshot(L"canary")) << "a link was followed: canaries are lost or changed";
    EXPECT_TRUE(tree.snapshot(L"dumps").empty()) << "links were not removed: " << shownLog();
    EXPECT_FALSE(hasComplained()) << "the removal of a link failed: " << shownLog();
}

TEST_F(Cleaning, UnknownTags)
{
    NEEDS_LINKS()
    constexpr DWORD unknown = 0x00000123, surrogate = 0x20000123, withOwnEntries = 0x10000123;
    makeCanaries();
    const Snapshot canaries = tree.snapshot(L"canary");
    makeOpenDirectory(L"dumps");
    {
        const auto account = asOrdinaryAccount();
        ASSERT_TRUE(makeAll({taggedDirectory(L"dumps\\directory", unknown), taggedFile(L"dumps\\file", unknown),
            taggedDirectory(L"dumps\\surrogate", surrogate), taggedFile(L"dumps\\surrogate file", surrogate),
            file(L"dumps\\own\\f"), junction(L"dumps\\own\\j", L"@\\canary")}));
        // The tag's directory bit allows it on a directory with entries ([MS-FSCC] "2.1.2.1 Reparse Tags"). A Windows
        // that does not know the bit refuses the tag. There the directory has none.
        const bool isTagged = tree.make(taggedDirectory(L"dumps\\own", withOwnEntries));
        const DWORD code = GetLastError();
        EXPECT_TRUE(isTagged || code == ERROR_DIR_NOT_EMPTY || code == ERROR_REPARSE_TAG_INVALID) << code;
    }
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(canaries == tree.snapshot(L"canary")) << "a link was followed: canaries are lost or changed";
    for (const wchar_t* name : {L"directory", L"file", L"surrogate", L"surrogate file"})
        EXPECT_FALSE(exists(std::wstring(L"dumps\\") + name)) << "not removed: " << name << shownLog();
    // No driver handles this tag, so the system need not list the entries.
    EXPECT_NE(exists(L"dumps\\own"), !hasComplained()) << "it stayed without a record, or a removal left a record";
}

TEST_F(Cleaning, OwnersOfLinks)
{
    NEEDS_LINKS()
    if (!kit::isWine())
        NEEDS_ACCOUNT();
    const struct
    {
        const char* name;
        bool isOfAccount; // which makes it; else an administrator does
        const wchar_t* rights;
        bool isFollowed;
    } rows[] = {{"made by the ordinary account", true, L"", false},
        {"of an administrator, writable for all", false, ofOthers, false},
        {"of an administrator, with inherited rights", false, L"", false},
        {"of an administrator alone", false, ofAdministrators, true}};
    for (const auto& [name, isOfAccount, rights, isFollowed] : rows) {
        if (kit::isWine() && *rights == L'\0')
            continue; // one account, no inherited rights
        tree.clear();
        ASSERT_TRUE(tree.make(file(L"target\\dumps\\f")));
        makeOpenDirectory(L"open");
        {
            const auto account = isOfAccount ? asOrdinaryAccount() : nullptr;
            ASSERT_TRUE(tree.make(junction(L"open\\way", L"@\\target").with(rights))) << name << GetLastError();
        }
        EXPECT_EQ(0u, cleanOnce(L"@\\open\\way\\dumps"));
        EXPECT_NE(isFollowed, exists(L"target\\dumps\\f"))
            << (isFollowed ? "a trusted link was refused: " : "a link was followed: ") << name << shownLog();
        EXPECT_EQ(!isFollowed, hasLogged(L"others than the administrators may change")) << name << shownLog();
        DeleteFileW(root.logFile(L"debug").c_str());
    }
}

TEST_F(Cleaning, LinksMadeOver)
{
    SKIP_UNDER_WINE("its icacls changes nothing");
    NEEDS_LINKS()
    NEEDS_ACCOUNT();
    ASSERT_TRUE(tree.make(file(L"target\\dumps\\f")));
    makeOpenDirectory(L"open");
    {
        const auto account = asOrdinaryAccount();
        ASSERT_TRUE(tree.make(junction(L"open\\way", L"@\\target"))) << GetLastError();
    }
    const std::wstring call = L"icacls \"" + tree.at(L"open\\way") + L"\" /L ";
    for (const wchar_t* change : {L"/setowner *S-1-5-32-544", L"/inheritance:r /grant:r *S-1-5-32-544:F *S-1-5-18:F"})
        EXPECT_EQ(0, _wsystem((call + change + L" >NUL").c_str())) << "icacls: " << testing::PrintToString(change);
    EXPECT_EQ(0u, cleanOnce(L"@\\open\\way\\dumps"));
    EXPECT_FALSE(exists(L"target\\dumps\\f"))
        << "the lines of docs/operations.md do not make a link trusted: " << shownLog();
}

TEST_F(Cleaning, MovedLinks)
{
    NEEDS_LINKS()
    if (!kit::isWine())
        NEEDS_ACCOUNT();
    ASSERT_TRUE(makeAll({file(L"target\\dumps\\f"), file(L"panel\\admin\\dumps\\f")}));
    makeOpenDirectory(L"theirs");
    makeOpenDirectory(L"open");
    ASSERT_TRUE(makeAll({junction(L"theirs\\link", L"@\\target").with(ofAdministrators),
        junction(L"theirs\\needed", L"@\\panel\\admin").with(ofAdministrators)}));
    {
        const auto account = asOrdinaryAccount();
        ASSERT_TRUE(!account || !tree.open(L"theirs\\link", FILE_WRITE_ATTRIBUTES))
            << "the link's list does not protect it";
        // The right to delete the children of a directory includes the right to move them.
        ASSERT_TRUE(tree.rename(L"theirs\\link", L"open\\way") && tree.rename(L"theirs\\needed", L"open\\bad"));
    }
    EXPECT_EQ(0u, cleanOnce(L"@\\open\\bad\\dumps"));
    EXPECT_TRUE(exists(L"panel\\admin\\dumps\\f")) << "a directory that the panel needs was emptied";
    EXPECT_TRUE(hasLogged(L"it lies in a directory whose content")) << shownLog();
    EXPECT_EQ(0u, cleanOnce(L"@\\open\\way\\dumps"));
    EXPECT_FALSE(exists(L"target\\dumps\\f")) << "docs/security.md says that a moved link is still trusted";
}
