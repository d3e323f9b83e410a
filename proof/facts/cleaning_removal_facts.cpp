// What is removed, and how: open, mapped and read-only files, files with other names, unusual names.

#include "proof/facts/cleaning.h"

#include <fstream>
#include <iostream>

namespace {

/// Whether the system removes by POSIX semantics. Debian 12's Wine does not.
bool hasPosixRemoval(const LinkTree& tree)
{
    tree.make(file(L"probe"));
    const UniqueFile probe = tree.open(L"probe", DELETE);
    constexpr auto dispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
    DWORD flags = FILE_DISPOSITION_FLAG_DELETE | FILE_DISPOSITION_FLAG_POSIX_SEMANTICS;
    return SetFileInformationByHandle(probe.get(), dispositionEx, &flags, sizeof flags) != FALSE;
}

} // namespace

#define NEEDS_POSIX_REMOVAL()                                                                                        \
    if (!hasPosixRemoval(tree)) {                                                                                    \
        EXPECT_TRUE(kit::isWine()) << "this Windows has no POSIX removal on the kit's volume";                       \
        GTEST_SKIP() << "Wine: no POSIX removal (Wine 8)";                                                           \
    }

TEST_F(Cleaning, OpenFiles)
{
    NEEDS_POSIX_REMOVAL()
    ASSERT_TRUE(tree.make(file(L"dumps\\x\\shared")));
    const UniqueFile open(CreateFileW(tree.at(L"dumps\\x\\shared").c_str(), GENERIC_READ,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(open);
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_FALSE(exists(L"dumps\\x")) << "the name of a removed file is not free while it is open: " << shownLog();
    EXPECT_TRUE(tree.make(file(L"dumps\\x\\shared"))) << "the name of a removed file cannot be used";
    char content = 0;
    DWORD size = 0;
    EXPECT_TRUE(ReadFile(open.get(), &content, 1, &size, nullptr) && content == 'x')
        << "an open file lost its content";
}

TEST_F(Cleaning, MappedFiles)
{
    ASSERT_TRUE(makeAll({file(L"dumps\\mapped"), file(L"dumps\\other"), file(L"panel\\tmp\\f")}));
    UniqueFile open(CreateFileW(tree.at(L"dumps\\mapped").c_str(), GENERIC_READ,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
    const UniqueHandle section(CreateFileMappingW(open.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    const auto* const view = static_cast<const char*>(MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, 0));
    ASSERT_TRUE(view) << GetLastError();
    open.reset();
    EXPECT_EQ(0u, cleanOnce());
    // A system may refuse it (Microsoft: FILE_DISPOSITION_INFORMATION_EX, "STATUS_CANNOT_DELETE").
    const bool isLeft = exists(L"dumps\\mapped");
    EXPECT_EQ(isLeft, hasLogged(L"Unable to remove path"))
        << "a file that stayed has no record, or a removed one has: " << shownLog();
    EXPECT_EQ('x', *view) << "a mapped file lost its content";
    EXPECT_FALSE(exists(L"dumps\\other")) << "a mapped file kept others from being removed";
    EXPECT_FALSE(exists(L"panel\\tmp\\f")) << "a mapped file kept another directory from being cleaned";
    UnmapViewOfFile(view);
    std::cout << "Figure: a mapped file " << (isLeft ? "stays, with a Warning" : "is removed") << "\n";
}

TEST_F(Cleaning, ReadOnlyFiles)
{
    ASSERT_TRUE(makeAll({file(L"dumps\\f"), file(L"dumps\\x\\f")}));
    for (const wchar_t* path : {L"dumps\\f", L"dumps\\x\\f", L"dumps\\x"}) {
        ASSERT_TRUE(SetFileAttributesW(
            tree.at(path).c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
    }
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(tree.snapshot(L"dumps").empty()) << "read-only files were not removed: " << shownLog();
    EXPECT_FALSE(hasComplained()) << shownLog();
}

TEST_F(Cleaning, HardLinks)
{
    constexpr DWORD attributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE;
    ASSERT_TRUE(makeAll({file(L"kept\\f"), directory(L"dumps")}));
    const std::wstring kept = tree.at(L"kept\\f");
    ASSERT_TRUE(CreateHardLinkW(tree.at(L"dumps\\f").c_str(), kept.c_str(), nullptr)) << GetLastError();
    ASSERT_TRUE(SetFileAttributesW(kept.c_str(), attributes));
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_FALSE(exists(L"dumps\\f")) << "a read-only file with another name was not removed: " << shownLog();
    EXPECT_EQ("x", readFile(kept)) << "the other name of a removed file lost its content";
    EXPECT_EQ(attributes, GetFileAttributesW(kept.c_str())) << "the other name of a removed file lost attributes";
}

TEST_F(Cleaning, CaseSensitiveDirectory)
{
    SKIP_UNDER_WINE("no directories whose names differ in letter case only");
    ASSERT_TRUE(makeAll({directory(L"dumps"), directory(L"other")}));
    for (const wchar_t* path : {L"dumps", L"other"}) {
        FILE_CASE_SENSITIVE_INFO info{1}; // FILE_CS_FLAG_CASE_SENSITIVE_DIR
        constexpr auto caseSensitiveInfo = static_cast<FILE_INFO_BY_HANDLE_CLASS>(23); // MinGW-w64 numbers it wrongly
        // The rights that Microsoft's page "Adjust case sensitivity" names.
        const UniqueFile opened =
            tree.open(path, FILE_WRITE_ATTRIBUTES | FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY | FILE_DELETE_CHILD);
        if (!SetFileInformationByHandle(opened.get(), caseSensitiveInfo, &info, sizeof info))
            GTEST_SKIP() << "this Windows makes no case-sensitive directories: " << GetLastError();
    }
    // CreateFile ignores the case only where the directory is not case-sensitive.
    ASSERT_TRUE(
        makeAll({file(L"dumps\\name"), file(L"dumps\\NAME"), file(L"dumps\\dir\\f"), directory(L"dumps\\DIR")}));
    if (tree.snapshot(L"dumps").size() != 5)
        GTEST_SKIP() << "names that differ in letter case only cannot be made here";
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(tree.snapshot(L"dumps").empty()) << "an entry was taken for another one: " << shownLog();
    EXPECT_FALSE(hasComplained()) << shownLog();
}

TEST_F(Cleaning, UnpairedSurrogates)
{
    SKIP_UNDER_WINE("such names cannot be made");
    ASSERT_TRUE(makeAll({file(L"dumps\\\xd83d"), file(L"dumps\\x\xde00y\\\xde00\xd83d")}));
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(tree.snapshot(L"dumps").empty()) << "names with unpaired surrogates stayed: " << shownLog();
    EXPECT_FALSE(hasComplained()) << shownLog();
}

TEST_F(Cleaning, LongNames)
{
    ASSERT_TRUE(tree.make(directory(L"dumps")));
    std::wstring path = L"\\\\?\\" + tree.at(L"dumps");
    for (int level = 0; level < 4; ++level) // beyond 800 characters
        ASSERT_TRUE(CreateDirectoryW((path += L"\\" + std::wstring(200, L'n')).c_str(), nullptr)) << GetLastError();
    ASSERT_TRUE(UniqueFile(CreateFileW((path + L"\\f").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr)));
    EXPECT_EQ(0u, cleanOnce());
    EXPECT_TRUE(tree.snapshot(L"dumps").empty()) << "long names stayed: " << shownLog();
    EXPECT_FALSE(hasComplained()) << shownLog();
}

TEST_F(Cleaning, WindowsTemp)
{
    NEEDS_DISK();
    NEEDS_WINDOWS_TEMP();
    wchar_t windows[MAX_PATH];
    GetSystemWindowsDirectoryW(windows, MAX_PATH);
    const std::wstring inner = std::wstring(windows) + L"\\Temp\\mendkit_proof", file = inner + L"\\f",
                       outside = std::wstring(windows) + L"\\Temp_mendkit_proof";
    ASSERT_TRUE(CreateDirectoryW(inner.c_str(), nullptr) && CreateDirectoryW(outside.c_str(), nullptr));
    std::ofstream(file.c_str()) << "x";
    // Windows\Temp is cleaned where the directory of dumps lies on the system's volume.
    EXPECT_EQ(0u, cleanOnce(inner.c_str()));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(inner.c_str())) << "Windows\\Temp was not cleaned";
    EXPECT_TRUE(RemoveDirectoryW(outside.c_str())) << "a directory beside Windows\\Temp was removed";
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((std::wstring(windows) + L"\\Temp").c_str()))
        << "Windows\\Temp itself was removed";
    RemoveDirectoryW(inner.c_str());
}
