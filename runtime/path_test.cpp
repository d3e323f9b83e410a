#include "runtime/path.h"

#include <gtest/gtest.h>

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
