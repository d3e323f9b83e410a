#include "logging/crash_dump_file.h"
#include "logging/crash_dump_info.h"
#include "logging/crash_dump_pruning.h"
#include "test/failure.h"
#include "test/sandbox.h"

#include <set>

namespace {

using CrashDumps = RegistrySandbox;

void makeFile(const std::wstring& path, DWORD age)
{
    const UniqueFile file(
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr));
    const FILETIME time{0, 0x01d00000 - age};
    EXPECT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));
}

} // namespace

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

TEST_F(CrashDumps, OldOnesArePruned)
{
    const ProductRoot root;
    const std::wstring directory = root.path() + L"\\admin\\bin\\";
    const auto left = [&](DWORD maxCount) {
        pruneCrashDumps(directory, maxCount);
        std::set<std::wstring> names;
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW((directory + L"*.*").c_str(), &found);
        for (BOOL more = TRUE; more; more = FindNextFileW(search, &found))
            names.insert(found.cFileName);
        FindClose(search);
        return names;
    };
    std::set<std::wstring> expected{L".", L"..", L"old.dmp"};
    CreateDirectoryW((directory + L"old.dmp").c_str(), nullptr);
    for (const auto& [file, age] : {std::pair{L"locked.dmp", 9ul}, {L"a.dmp.zip", 8ul}, {L"a.dmpx", 8ul},
             {L"first.DMP", 3ul}, {L"c.dmp", 2ul}, {L"b.dmp", 1ul}, {L"a.dmp", 0ul}}) {
        makeFile(directory + file, age);
        expected.insert(file);
    }
    const CrashDumpFile lock(directory + L"locked.dmp"); // whose rights are new; gone with the object
    EXPECT_EQ(expected, left(0xffffffff));
    makeFile(directory + L"first.DMP", 3);
    EXPECT_EQ(expected, left(5));
    expected.erase(L"first.DMP");
    expected.erase(L"c.dmp");
    EXPECT_EQ(expected, left(3)) << "the two oldest";
    expected.erase(L"a.dmp");
    expected.erase(L"b.dmp");
    EXPECT_EQ(expected, left(0)) << "what cannot be removed is passed over";
}
