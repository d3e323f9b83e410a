#include "runtime/command_line.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <random>

namespace {

std::vector<std::wstring> bySystem(const std::wstring& arguments)
{
    int count = 0;
    wchar_t** const list = CommandLineToArgvW((L"x " + arguments).c_str(), &count);
    const std::vector<std::wstring> result(list + 1, list + count);
    LocalFree(list);
    return result;
}

} // namespace

TEST(CommandLine, QuotesWhatTheSystemReadsBack)
{
    std::mt19937 random(1);
    const std::wstring alphabet = L"ab \t\"\\\\\\=&";
    for (int round = 0; round < 20'000; ++round) {
        std::wstring argument(random() % 8, L'\0');
        for (wchar_t& c : argument)
            c = alphabet[random() % alphabet.size()];
        const std::vector<std::wstring> expected = {argument, L"b c"};
        const std::wstring line = quoteArgument(argument) + L" " + quoteArgument(L"b c");
        ASSERT_EQ(expected, bySystem(line)) << testing::PrintToString(line);
        ASSERT_EQ(expected, splitArguments(line)) << testing::PrintToString(line);
    }
}
