#include "runtime/text/command_line.h"

#include "runtime/text/mask.h"
#include "test/stress.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <algorithm>

namespace {

std::vector<std::wstring> parsedBySystem(const std::wstring& arguments)
{
    int count = 0;
    wchar_t** const list = CommandLineToArgvW((L"x " + arguments).c_str(), &count);
    const std::vector<std::wstring> result(list + 1, list + count);
    LocalFree(list);
    return result;
}

} // namespace

TEST(CommandLine, QuotedArgumentsParseBackUnchanged)
{
    std::mt19937 random = seeded();
    const int count = rounds(20'000, 1'000'000);
    const std::wstring alphabet = L"ab \t\"\\\\\\=&";
    for (int round = 0; round < count; ++round) {
        std::wstring argument(random() % 8, L'\0');
        for (wchar_t& c : argument)
            c = alphabet[random() % alphabet.size()];
        const std::vector<std::wstring> expected = {argument, L"b c"};
        const std::wstring line = quoteArgument(argument) + L" " + quoteArgument(L"b c");
        ASSERT_EQ(expected, parsedBySystem(line)) << testing::PrintToString(line);
        ASSERT_EQ(expected, splitArguments(line)) << testing::PrintToString(line);
    }
    figure(count, "arguments quoted and parsed back");
}

TEST(CommandLine, MasksEverySecretThatTheSystemParses)
{
    std::mt19937 random = seeded();
    const wchar_t* const pieces[] = {L"a", L" ", L"\t", L"\"", L"\"", L"\\", L"=", L"pwd", L"password", L"§"};
    const auto marks = [](const std::wstring& text) { return std::count(text.begin(), text.end(), L'§'); };
    long long secrets = 0;
    const int count = rounds(20'000, 1'000'000);
    for (int round = 0; round < count; ++round) {
        std::wstring line;
        for (unsigned length = random() % 16; length > 0; --length)
            line += pieces[random() % std::size(pieces)];
        auto visible = marks(line);
        for (const std::wstring& argument : parsedBySystem(line)) {
            const std::size_t equals = std::min(argument.find(L'='), argument.size());
            const std::wstring name = argument.substr(0, equals);
            if (name.find(L"pwd") != std::wstring::npos || name.find(L"password") != std::wstring::npos) {
                secrets += marks(argument.substr(equals));
                visible -= marks(argument.substr(equals));
            }
        }
        ASSERT_LE(marks(maskCommandLine(line)), visible) << testing::PrintToString(line);
    }
    EXPECT_GT(secrets, count / 30);
    figure(count, "random command lines masked");
}

TEST(CommandLine, MasksNoMoreThanItHasTo)
{
    const struct
    {
        const wchar_t* line;
        const wchar_t* masked;
    } rows[] = {{L"x --a=\"\" --b=1", L"x --a=\"\" --b=1"}, {L"x \"\" --b=1", L"x \"\" --b=1"},
        {L"x --a=\"\" --pwd=1 --b=2", L"x --a=\"\" --pwd=* --b=2"}, {L"x --pwd=1 --b=2", L"x --pwd=* --b=2"},
        {L"x --password= y", L"x --password=* y"}, {L"x --pwd --b=2", L"x --pwd --b=2"},
        {L"x --pwd=a=b", L"x --pwd=*=*"}, {L"pwd y", L"pwd y"}};
    for (const auto& [line, masked] : rows)
        EXPECT_EQ(std::wstring(masked), maskCommandLine(line)) << testing::PrintToString(line);
}
