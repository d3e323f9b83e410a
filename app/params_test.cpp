#include "app/params.h"

#include "test/failure.h"

#include <tuple>

using namespace std::string_view_literals;

namespace {

using Arguments = std::vector<const wchar_t*>;

ParameterMap parse(const Arguments& arguments)
{
    return parseParameters(static_cast<std::int32_t>(arguments.size()), arguments.data());
}

} // namespace

TEST(ParseParameters, CutsAtTheFirstEqualsAndKeepsTheLast)
{
    EXPECT_EQ((ParameterMap{{L"", L"=x"}, {L"--a", L"b=c"}, {L"--b", L""}, {L"--t", L""}, {L"x", L""}}),
        parse({L"--t=5", L"--a=b=c", L"==x", L"--b=", L"x", L"--t"}));
    EXPECT_EQ((ParameterMap{{L"", L""}}), parse({L""}));
    EXPECT_TRUE(parseParameters(-1, nullptr).empty());
}

TEST(Params, ChecksTheRequiredNamesThenTheOthers)
{
    const std::wstring none = L"nothing thrown", possible = L"Possible parameters:\n    ";
    const std::wstring missing = L"\n   at (Params::check line 72)", bad = L"\n   at (Params::check line 105)";
    for (const auto& [arguments, required, optional, outcome] :
        std::initializer_list<std::tuple<Arguments, NameList, NameList, std::wstring>>{
            {{L"--name=x", L"--internal-package-name=y"}, L"--name\0"sv, {}, none},
            {{L"--b"}, {}, L"--a\0--b\0"sv, none}, {{L"--b"}, L""sv, L"--b"sv, none}, // lists without an end
            {{L"--zeta", L"--alpha"}, {}, {}, L"Unexpected parameter --alpha. " + bad},
            {{L"--zeta"}, L"--b\0--a\0"sv, L"--c\0--d\0"sv,
                L"Missing required parameter --b. " + possible + L"--b\n    --a\n    [--c]\n    [--d]" + missing},
            {{L"--NAME=x"}, L"--name\0"sv, {},
                L"Missing required parameter --name. " + possible + L"--name" + missing},
            {{L"=x"}, {}, L"--a\0\0--hidden\0"sv, L"Unexpected parameter . " + possible + L"[--a]" + bad}}) {
        const ParameterMap map = parse(arguments);
        EXPECT_EQ(outcome, failureOf([&] { Params(map).check(required, optional); }));
    }
}

TEST(Params, GetsValuesByExactName)
{
    const ParameterMap map = parse({L"--name=x"});
    const Params params(map);
    EXPECT_EQ(L"x", params.get(L"--name", true, L"d"));
    EXPECT_EQ(L"d", params.get(L"--NAME", false, L"d"));
    EXPECT_EQ(L"Missing required parameter --nam. \n   at (Params::reportMissingParameter line 39)",
        failureOf([&] { params.get(L"--nam"); }));
}
