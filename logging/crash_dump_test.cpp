#include "logging/crash_dump_info.h"
#include "test/failure.h"
#include "test/sandbox.h"

using CrashDumps = RegistrySandbox;

TEST_F(CrashDumps, AreNamedAsTheSettingsSay)
{
    const auto nameOf = [] {
        std::wstring name = CrashDumpInfo().getFileName();
        for (std::size_t at = name.rfind(L'\\'); at < name.size(); ++at)
            name[at] = iswdigit(name[at]) ? L'#' : name[at];
        return name;
    };
    const std::wstring name = L"\\mendkit_logging_test########_######.dmp";
    EXPECT_EQ(name, nameOf());
    setConfig(L"PRODUCT_ROOT_D", L"C:\\missing\\");
    EXPECT_EQ(L"C:\\missing\\etc\\crashdumps" + name, nameOf());
    setConfig(L"CrashDumpsMaxCount", L"no number");
    setConfig(L"CrashDumpsLocation", std::wstring(260 - name.size(), L'x'));
    EXPECT_EQ(std::wstring(260 - name.size(), L'x') + name, nameOf());
    setConfig(L"CrashDumpsLocation", std::wstring(261 - name.size(), L'x'));
    EXPECT_EQ(L"", nameOf()) << "a cut path would be another file's";
    setConfig(L"CrashDumpsLocation", 5);
    EXPECT_EQ(L"C:\\missing\\etc\\crashdumps" + name, nameOf());
    setConfig(L"CrashDumpsEnabled", 0);
    EXPECT_EQ(L"Crash dumping does not enabled\n   at (CrashDumpInfo::getFileName line 688)", failureOf(nameOf));
}
