#include "runtime/path.h"

#include "runtime/file_id.h"

#include <gtest/gtest.h>

TEST(Path, HasARootThatEndsInASeparator)
{
    for (const auto& [path, root] : {std::pair(L"C:\\a", L"C:\\"), {L"\\\\?\\c:\\a", L"c:\\"},
             {L"\\\\s\\d\\a", L"\\\\s\\d\\"}, {L"\\\\?\\UNC\\s\\d\\a", L"\\\\s\\d\\"}})
        EXPECT_EQ(std::wstring(root), path::root(path)) << testing::PrintToString(path);
}

TEST(FileId, IsTheSameOnTheSameVolumeOnly)
{
    const FileId full{{1, {{7}}}, 0, 0}, otherVolume{{2, {{7}}}, 0, 0}, other{{1, {{8}}}, 0, 0}, old{{}, 1, 7},
        both{{1, {{7}}}, 1, 7};
    EXPECT_TRUE(isSame(full, full) && isSame(old, old) && isSame(old, both) && mayBeSame(full, both));
    EXPECT_FALSE(isSame(full, otherVolume) || isSame(full, other) || isSame(full, old) || mayBeSame(full, old));
    EXPECT_FALSE(isSame(old, {{}, 2, 7}) || isSame(old, {{}, 1, 8}) || isSame({{}, 1, 0}, {{}, 1, 0}));
    EXPECT_TRUE(mayBeSame({{1, {{8}}}, 1, 7}, both)) << "the same by one of the two";
    EXPECT_FALSE(isSame({{1, {{8}}}, 1, 7}, both));
}

TEST(Path, IsNormalisedWithoutLosingItsMeaning)
{
    struct Row
    {
        const wchar_t *path, *normalised;
    };
    for (const Row& row : {Row{L"C:/a/./b/../c", L"C:\\a\\c"}, {L"C:\\Way\\\\..\\Other", L"C:\\Other"},
             {L"C:\\\\a\\\\\\b", L"C:\\a\\b"}, {L"\\\\?\\C:\\\\a\\\\..\\b", L"C:\\b"}, {L"\\\\.\\C:\\a", L"C:\\a"},
             {L"\\\\server\\share\\\\a\\\\..\\b", L"\\\\server\\share\\b"}, {L"", L""}})
        EXPECT_EQ(std::wstring(row.normalised), path::normalise(row.path)) << testing::PrintToString(row.path);
}
