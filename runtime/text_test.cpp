#include "runtime/text.h"

#include "runtime/argument_exception.h"
#include "runtime/format.h"
#include "runtime/vosexception.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

TEST(Text, ConvertsBothWaysAndKeepsZeros)
{
    EXPECT_EQ("", toNarrow(L"", utf8CodePage));
    EXPECT_EQ("\xd0\x96\0\xf0\x9f\x98\x80"s, toNarrow(L"Ж\0\xd83d\xde00"s, utf8CodePage));
    EXPECT_EQ(L"Ж\0\xd83d\xde00"s, toWide("\xd0\x96\0\xf0\x9f\x98\x80"s, utf8CodePage));
    EXPECT_EQ("\xef\xbf\xbd.", toNarrow(L"\xd83d.", utf8CodePage)) << "an unpaired surrogate";
    EXPECT_EQ(L"a\xfffd", toWide("a\xff", utf8CodePage));
    EXPECT_THROW(toNarrow(L"x", 99999), vosexception);
}

TEST(FormatString, HasTheMicrosoftMeaning)
{
    EXPECT_EQ(L"wide narrow 18446744073709551615 -1", formatString(L"%s %S %I64u %d", L"wide", "narrow", ~0ull, -1));
    EXPECT_EQ(std::wstring(100'000, L'x'), formatString(L"%s", std::wstring(100'000, L'x').c_str()));
    EXPECT_THROW(formatString(nullptr), ArgumentException);
}
