#include "runtime/path.h"

#include "runtime/vexception.h"

#include <gtest/gtest.h>

#include <tuple>

TEST(Path, KnowsTheFormsOfADirectoryAndItsRoot)
{
    for (const auto& [given, normal, root] :
        std::initializer_list<std::tuple<const wchar_t*, std::wstring, std::wstring>>{
            {L"c:/Panel/x/../", L"c:\\Panel\\", L"c:\\"}, {L"\\\\?\\C:\\Panel\\", L"C:\\Panel\\", L"C:\\"},
            {L"\\\\?\\UNC\\server\\share\\a", L"\\\\server\\share\\a", L"\\\\server\\share\\"},
            {L"//server/share/a/./b", L"\\\\server\\share\\a\\b", L"\\\\server\\share\\"}}) {
        EXPECT_EQ(normal, path::normalise(given));
        EXPECT_EQ(root, path::root(normal));
        EXPECT_TRUE(path::isAbsolute(normal));
    }
    for (const wchar_t* const relative : {L"", L"C:", L"C:x", L"x\\y"})
        EXPECT_THROW(path::root(relative), vexception);
}
