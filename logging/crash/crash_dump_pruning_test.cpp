#include "logging/crash/crash_dump_pruning.h"

#include "runtime/path.h"
#include "test/replaced_import.h"
#include "test/sandbox.h"

namespace {

// Found by name, because the import is replaced.
const auto systemFind = reinterpret_cast<decltype(&FindFirstFileW)>(
    reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "FindFirstFileW")));
DWORD tag = 0;

/// Shows the first file as a reparse point.
HANDLE WINAPI findReparsePoint(const wchar_t* pattern, WIN32_FIND_DATAW* found)
{
    const HANDLE search = systemFind(pattern, found);
    found->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    found->dwReserved0 = tag;
    return search;
}

} // namespace

TEST(CrashDumpPruning, CountsDeduplicatedFilesButNoLinks)
{
    const ProductRoot root;
    const std::wstring file = root.path() + L"\\admin\\logs\\x.dmp";
    const ReplacedImport find("FindFirstFileW", findReparsePoint);
    for (const DWORD value : {IO_REPARSE_TAG_DEDUP, IO_REPARSE_TAG_SYMLINK}) {
        tag = value;
        std::ofstream(file.c_str()) << "x";
        pruneCrashDumps(root.path() + L"\\admin\\logs", 0);
        EXPECT_EQ(tag == IO_REPARSE_TAG_SYMLINK, path::isFile(file));
    }
}
