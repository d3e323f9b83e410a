#include "app/params.h"

#include "runtime/vexception.h"

#include <gtest/gtest.h>

#include <vector>

using namespace std::string_view_literals;

namespace {

ParameterMap parse(const std::vector<const wchar_t*>& arguments)
{
    return parseParameters(static_cast<std::int32_t>(arguments.size()), arguments.data());
}

} // namespace

TEST(ParseParameters, CutsAtTheFirstEqualsAndKeepsTheLast)
{
    EXPECT_EQ((ParameterMap{{L"", L"=x"}, {L"--a", L"b=c"}, {L"--b", L""}, {L"--t", L""}, {L"x", L""}}),
        parse({L"--t=5", L"--a=b=c", L"==x", L"--b=", L"x", L"--t"}));
    EXPECT_EQ((ParameterMap{{L"", L""}}), parse({L""}));
    EXPECT_TRUE(parseParameters(0, nullptr).empty());
    EXPECT_TRUE(parseParameters(-1, nullptr).empty());
}

TEST(Params, ChecksTheRequiredNamesThenTheOthers)
{
    const struct
    {
        std::vector<const wchar_t*> arguments;
        NameList required, optional;
        const wchar_t* message; // null: all is well
        std::uint_least32_t line;
    } rows[] = {
        {{}, {}, {}, nullptr, 0},
        {{L"--name"}, L"--name\0\0"sv, {}, nullptr, 0},
        {{L"--name=x", L"--internal-package-name=y"}, L"--name\0"sv, {}, nullptr, 0},
        {{L"--b"}, {}, L"--a\0--b\0"sv, nullptr, 0},
        {{L"--b"}, L""sv, L"--b"sv, nullptr, 0}, // lists without an end
        {{L"--zeta", L"--alpha"}, {}, {}, L"Unexpected parameter --alpha. ", 105},
        {{L"--zeta"}, L"--b\0--a\0"sv, L"--c\0--d\0"sv,
            L"Missing required parameter --b. Possible parameters:\n    --b\n    --a\n    [--c]\n    [--d]", 72},
        {{L"--NAME=x"}, L"--name\0"sv, {}, L"Missing required parameter --name. Possible parameters:\n    --name",
            72},
        {{L"--nam"}, {}, L"--name\0"sv, L"Unexpected parameter --nam. Possible parameters:\n    [--name]", 105},
        {{L"=x"}, {}, L"--a\0\0--hidden\0"sv, L"Unexpected parameter . Possible parameters:\n    [--a]", 105},
    };
    for (const auto& row : rows) {
        const ParameterMap map = parse(row.arguments);
        try {
            Params(map).check(row.required, row.optional);
            EXPECT_EQ(nullptr, row.message);
        } catch (const vexception& failure) {
            EXPECT_EQ(std::wstring(row.message ? row.message : L"nothing"), failure.message());
            EXPECT_STREQ("Params::check", failure.trail().front().site.function);
            EXPECT_EQ(row.line, failure.trail().front().site.line);
        }
    }
}

TEST(Params, GetsValuesByExactName)
{
    const ParameterMap map = parse({L"--name=x"});
    const Params params(map);
    EXPECT_EQ(L"x", params.get(L"--name", true, L"d"));
    EXPECT_EQ(L"d", params.get(L"--NAME", false, L"d"));
    try {
        params.get(L"--nam");
        FAIL();
    } catch (const vexception& failure) {
        EXPECT_EQ(L"Missing required parameter --nam. \n   at (Params::reportMissingParameter line 39)",
            failure.fullText());
    }
}
