#include "logging/crash/crash_dump_pruning.h"

#include "runtime/fault/translator.h"
#include "runtime/handle/unique.h"
#include "runtime/path.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

namespace {

struct SearchTraits
{
    using Type = HANDLE;
    static Type empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(Type search) noexcept { FindClose(search); }
};

struct Dump
{
    std::uint64_t written;
    std::wstring name;

    bool operator<(const Dump& other) const { return std::tie(written, name) < std::tie(other.written, other.name); }
};

/// FindFirstFile also matches short 8.3 names (of "x.dmpold", for example), so the long name is tested again. Links
/// are no dumps. Other reparse points are: a volume with deduplication makes them of large files.
bool isDump(const WIN32_FIND_DATAW& found)
{
    const bool isLink =
        (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) && IsReparseTagNameSurrogate(found.dwReserved0);
    return !(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !isLink &&
           path::hasExtension(found.cFileName, L".dmp");
}

std::vector<Dump> dumpsOf(const std::wstring& location)
{
    std::vector<Dump> dumps;
    WIN32_FIND_DATAW found;
    const Unique<SearchTraits> search(FindFirstFileW(path::append(location, L"*.dmp").c_str(), &found));
    for (BOOL more = search ? TRUE : FALSE; more; more = FindNextFileW(search.get(), &found)) {
        const FILETIME& written = found.ftLastWriteTime;
        if (isDump(found))
            dumps.push_back({std::uint64_t{written.dwHighDateTime} << 32 | written.dwLowDateTime, found.cFileName});
    }
    return dumps;
}

} // namespace

void pruneCrashDumps(const std::wstring& location, DWORD maxCount) noexcept
{
    // Runs at process exit: a fault here must not change the exit code.
    const structured_exception::TranslatorScope translator;
    try {
        if (location.empty())
            return;
        std::vector<Dump> dumps = dumpsOf(location);
        if (dumps.size() <= maxCount)
            return;
        std::sort(dumps.begin(), dumps.end());
        dumps.resize(dumps.size() - maxCount);
        for (const Dump& dump : dumps)
            DeleteFileW(path::append(location, dump.name).c_str());
    } catch (...) {
    }
}
