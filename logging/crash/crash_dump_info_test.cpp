#include "logging/crash/crash_dump_info.h"

#include "test/replaced_import.h"
#include "test/sandbox.h"

#include <dbghelp.h>

namespace {

int dumpType = 0;

BOOL WINAPI recordDump(HANDLE, DWORD, HANDLE, int type, void*, void*, void*)
{
    dumpType = type;
    return TRUE;
}

FARPROC WINAPI findDump(HMODULE, const char*)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(recordDump));
}

void WINAPI tellTime(SYSTEMTIME* time)
{
    *time = {2026, 1, 5, 2, 3, 4, 5, 6};
}

class CrashDumps : public RegistrySandbox
{
};

} // namespace

TEST_F(CrashDumps, HoldTheWholeMemoryInAFileOfTheirTime)
{
    const ProductRoot root;
    setConfig(L"CrashDumpsLocation", root.path());
    const CrashDumpInfo info;
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};
    const ReplacedImport time("GetLocalTime", tellTime), find("GetProcAddress", findDump);
    CrashDumpInfo::dumpUnhandled(&pointers);
    EXPECT_EQ(MiniDumpWithDataSegs | MiniDumpWithFullMemory | MiniDumpWithHandleData, dumpType);
    const std::wstring file = root.path() + L"\\mendkit_logging_test20260102_030405.dmp";
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(file.c_str()));
}

TEST_F(CrashDumps, AreKeptByTheirSettings)
{
    const ProductRoot root;
    const std::wstring other = root.path() + L"\\admin", standard = root.path() + L"\\etc\\crashdumps";
    CreateDirectoryW((root.path() + L"\\etc").c_str(), nullptr);
    CreateDirectoryW(standard.c_str(), nullptr);
    setConfig(L"PRODUCT_ROOT_D", root.path());
    const auto dump = [](const std::wstring& directory, int number) {
        return directory + L"\\" + std::to_wstring(number) + L".dmp";
    };
    const struct
    {
        const char* name;
        const wchar_t* setting; // null: none
        std::wstring text;
        DWORD number;
        std::wstring directory;
        int removed;
    } rows[] = {{"the ten last ones", nullptr, L"", 0, standard, 2},
        {"off", L"CrashDumpsEnabled", L"", 0, standard, 0}, {"on", L"CrashDumpsEnabled", L"", 1, standard, 2},
        {"no more than two", L"CrashDumpsMaxCount", L"", 2, standard, 10},
        {"elsewhere", L"CrashDumpsLocation", other, 0, other, 10}};
    for (const auto& [name, setting, text, number, directory, removed] : rows) {
        for (int file = 10; file < 22; ++file)
            std::ofstream(dump(directory, file).c_str()) << "x";
        if (setting && text.empty())
            setConfig(setting, number);
        else if (setting)
            setConfig(setting, text);
        CrashDumpInfo().prune();
        for (int file = 10; file < 22; ++file)
            EXPECT_EQ(
                file >= 10 + removed, GetFileAttributesW(dump(directory, file).c_str()) != INVALID_FILE_ATTRIBUTES)
                << name << " " << file;
    }
}
