#include "runtime/mask.h"

#include <gtest/gtest.h>

TEST(MaskCommandLine, HidesValuesOfSecretsOnly)
{
    for (const auto& [line, masked] : std::initializer_list<std::pair<const wchar_t*, std::wstring>>{{L"", L""},
             {L"a --db-password=secret b", L"a --db-password=* b"},
             {L" mendkit.exe  --name=x\t--timeout=1 ", L"mendkit.exe --name=x --timeout=1"},
             {L"--db-password=a=b", L"--db-password=*=*"}, {L"--db-password=", L"--db-password=*"},
             {L"--db-password", L"--db-password"}, {L"mypwd=x\t--pwd=y", L"mypwd=* --pwd=*"},
             {L"--PASSWORD=x --name=password=x", L"--PASSWORD=x --name=password=x"},
             {L"--db-pass\"wor\"d=x", L"--db-password=*"}, {L"\"x=1 --pwd=a b\" c", L"\"x=1 --pwd=*\" c"},
             {L"--db-password=\"a b\" --x=1", L"--db-password=* --x=1"},
             {L"\"--db-password=a b\" --x=1", L"--db-password=* --x=1"},
             {L"--db-password=\"a\\\" b\" --x=1", L"--db-password=* --x=1"},
             {L"--db-password=\"a\\\\\" --x=1", L"--db-password=* --x=1"},
             {L"--db-password=\"a b", L"--db-password=*"}, {L"--x=\"\" --pwd=\"\" --y=1", L"--x=\"\" --pwd=* --y=1"},
             {L"\"x\"\" pwd=\"a b --y=1", L"x pwd=*"}, {L"x=\"a\"\"b c\" y", L"x=\"a\"\"b c\" y"},
             {L"\"C:\\a b\\mendkit.exe\" \"--name=a b\"", L"\"C:\\a b\\mendkit.exe\" \"--name=a b\""}}) {
        EXPECT_EQ(masked, maskCommandLine(line));
        EXPECT_EQ(masked, maskCommandLine(masked)) << "masked twice";
    }
}
