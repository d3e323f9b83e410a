#include "runtime/path.h"

#include <gtest/gtest.h>

TEST(Path, CombinesAndNamesFiles)
{
    EXPECT_EQ(L"C:\\a b\\admin\\logs", path::combine(L"C:\\a b\\", L"admin\\logs"));
    EXPECT_EQ(L"admin\\logs", path::combine(L"", L"admin\\logs"));
    EXPECT_EQ(
        L"\\\\?\\C:\\" + std::wstring(300, L'x') + L"\\y", path::combine(L"C:\\" + std::wstring(300, L'x'), L"y"));
    EXPECT_EQ(L"mendkit", path::fileTitle(L"C:\\dir.d\\mendkit.exe"));
    EXPECT_EQ(L"a.b", path::fileTitle(L"a.b.exe"));
    EXPECT_EQ(L"noextension", path::fileTitle(L"C:/dir.d/noextension"));
}
