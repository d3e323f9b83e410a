#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"
#include "runtime/text/letter_case.h"
#include "system/default_system_helper.h"
#include "test/failure.h"
#include "test/file_opens.h"
#include "test/kit.h"
#include "test/replaced_import.h"
#include "test/stress.h"

#include <winternl.h>

#include <list>
#include <set>

namespace {

/// A directory to be cleaned and one beside it that must not change, both on one volume. All paths have the prefix
/// \\?\ .
class Removal : public testing::TestWithParam<const wchar_t*>
{
protected:
    void SetUp() override
    {
        if (volume.empty())
            GTEST_SKIP() << "the kit cleans on its own disk alone";
        for (const std::wstring& directory : {base.substr(0, base.rfind(L'\\')), base, clean, outside})
            CreateDirectoryW(directory.c_str(), nullptr);
        file(outside + L"\\canary");
        before = content(outside);
    }
    ~Removal() override
    {
        if (volume.empty())
            return;
        EXPECT_EQ(before, content(outside));
        EXPECT_EQ(L"nothing thrown", failureOf([&] { helper.removeDirectory(base); }));
        EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(base.c_str()));
    }

    static void file(const std::wstring& path, DWORD attributes = FILE_ATTRIBUTE_NORMAL)
    {
        const UniqueFile made(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, attributes, nullptr));
        EXPECT_TRUE(made || GetLastError() == ERROR_FILE_EXISTS) << GetLastError();
    }

    /// Paths and attributes of all objects in a directory and below.
    std::wstring content(const std::wstring& directory)
    {
        std::wstring all;
        for (const DirectoryEntry& entry : helper.listDirectory(directory, 2)) {
            const std::wstring path = directory + L"\\" + entry.name;
            if (entry.name != L"." && entry.name != L"..")
                all += path + std::to_wstring(entry.attributes) + (entry.isDirectory() ? content(path) : L"");
        }
        return all;
    }

    /// Removes each entry as the adapter does, and goes on after a failure. @return the entries that were not removed
    std::set<std::wstring> cleanAll()
    {
        std::set<std::wstring> stayed;
        for (const DirectoryEntry& entry : helper.listDirectory(clean, 2)) {
            const std::wstring path = clean + L"\\" + entry.name;
            if (entry.name == L"." || entry.name == L"..")
                continue;
            if (failureOf([&] { entry.isDirectory() ? helper.removeDirectory(path) : helper.removeFile(path); }) !=
                L"nothing thrown")
                stayed.insert(entry.name);
        }
        return stayed;
    }

    KelvoRepairAdapter::DefaultSystemHelper helper;
    /// While the kit runs, its own disk stands in for the last volume, and the others are left out.
    const std::wstring volume = !kit::isRunning()                                ? GetParam()
                                : GetParam()[0] == L'D' && !kit::drive().empty() ? kit::drive() + L"\\"
                                                                                 : L"";
    const std::wstring base = L"\\\\?\\" + volume + L"mendkit_test\\" + std::to_wstring(GetCurrentProcessId());
    const std::wstring clean = base + L"\\clean", outside = base + L"\\outside";
    std::wstring before;
};

// A system before Windows 10, which knows neither POSIX removal nor OBJ_DONT_REPARSE. The originals are found by
// name, because the imports are replaced.
template <typename Function>
Function* original(const wchar_t* module, const char* name)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(module), name)));
}
int unknown = 0; // requests that it does not know

BOOL WINAPI setWithoutPosix(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, void* information, DWORD size)
{
    static const auto set = original<decltype(SetFileInformationByHandle)>(L"kernel32", "SetFileInformationByHandle");
    constexpr int dispositionEx = 21;
    if (static_cast<int>(kind) != dispositionEx)
        return set(file, kind, information, size);
    ++unknown;
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

DWORD reopened = 0; // flags

HANDLE WINAPI recordReopening(HANDLE object, DWORD access, DWORD sharing, DWORD flags)
{
    reopened = flags;
    return original<decltype(ReOpenFile)>(L"kernel32", "ReOpenFile")(object, access, sharing, flags);
}

NTSTATUS NTAPI createWithoutDontReparse(HANDLE* file, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
    IO_STATUS_BLOCK* status, LARGE_INTEGER* size, ULONG flags, ULONG sharing, ULONG disposition, ULONG options,
    void* extra, ULONG extraSize)
{
    static const auto create = original<decltype(NtCreateFile)>(L"ntdll", "NtCreateFile");
    constexpr ULONG dontReparse = 0x1000;
    if ((attributes->Attributes & dontReparse) == 0)
        return create(file, access, attributes, status, size, flags, sharing, disposition, options, extra, extraSize);
    ++unknown;
    return static_cast<NTSTATUS>(0xC000000D);
}

NTSTATUS NTAPI tellNoName(HANDLE, OBJECT_INFORMATION_CLASS, void*, ULONG, ULONG*)
{
    return static_cast<NTSTATUS>(0xC000009A); // insufficient resources
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Volumes, Removal, testing::Values(L"C:\\", L"D:\\"));

TEST_P(Removal, RemovesAllButBusyEntries)
{
    const std::wstring names[] = {L"plain", L"dot.", L"dot", L"blank ", L"blank", L"nul", L"con.txt",
        L"ä Ж \xd83d\xde00", std::wstring(200, L'n')};
    const DWORD attributes[] = {FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_HIDDEN,
        FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_READONLY};
    std::mt19937 random = seeded();
    const int count = rounds(30, 1'000);
    for (int round = 0; round < count; ++round) {
        std::list<UniqueFile> open;
        std::set<std::wstring> busy;
        std::vector<std::wstring> directories{clean};
        for (int object = 0; object < 40; ++object) {
            const std::wstring path =
                directories[random() % directories.size()] + L"\\" + names[random() % std::size(names)];
            const DWORD attribute = attributes[random() % std::size(attributes)];
            if (random() % 3 == 0) {
                if (CreateDirectoryW(path.c_str(), nullptr)) {
                    directories.push_back(path);
                    SetFileAttributesW(path.c_str(), attribute);
                }
                continue;
            }
            if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES)
                file(path, attribute);
            // A hard link, whose attributes must stay: one a round, fifty in all.
            CreateHardLinkW((outside + L"\\" + std::to_wstring(round % 50)).c_str(), path.c_str(), nullptr);
            if (random() % 20 != 0)
                continue;
            UniqueFile held(
                CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
            if (held) {
                open.push_back(std::move(held));
                const std::size_t start = clean.size() + 1;
                busy.insert(path.substr(start, path.find(L'\\', start) - start));
            }
        }
        before = content(outside);
        EXPECT_EQ(busy, cleanAll()) << "round " << round;
        open.clear();
        EXPECT_TRUE(cleanAll().empty());
        EXPECT_EQ(L"", content(clean));
        EXPECT_EQ(before, content(outside));
    }
    figure(count, "directory trees with busy files cleaned, on one of two volumes");
}

TEST_P(Removal, RemovesTreesWithPathsBeyond260Characters)
{
    std::wstring path = clean;
    for (int level = 0; level < 250; ++level)
        ASSERT_TRUE(CreateDirectoryW((path += L"\\d").c_str(), nullptr)) << level << ": " << GetLastError();
    file(path + L"\\f");
    helper.removeDirectory(clean + L"\\d");
    EXPECT_EQ(L"", content(clean));
}

TEST_P(Removal, NamesTheEntryThatCannotBeRemoved)
{
    // Another handle may rename the cleaned directory.
    const UniqueFile mover(CreateFileW(clean.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    EXPECT_TRUE(mover);
    const std::wstring inner = clean + L"\\tree\\inner";
    CreateDirectoryW((clean + L"\\tree").c_str(), nullptr);
    CreateDirectoryW(inner.c_str(), nullptr);
    file(inner + L"\\busy");
    const UniqueFile held(
        CreateFileW((inner + L"\\busy").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const FileOpens opens;
    const std::wstring failure = failureOf<vosexception>([&] { helper.removeDirectory(clean + L"\\tree"); });
    EXPECT_EQ(L"80 7 3 2110000", FileOpens::of(base.substr(0, 7) + L"|"))
        << "a server at a link may identify the user only";
    EXPECT_TRUE(messageIn(failure).ends_with(L" at Unable to remove path (" + inner + L"\\busy)")) << failure;
    EXPECT_EQ(L"nothing thrown", failureOf([&] { helper.removeFile(clean + L"\\none"); }));
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    for (const std::wstring& spelling : {std::wstring(system), upperCase(system)})
        EXPECT_TRUE(helper.listDirectory(spelling, 2).empty()) << "the system directory is never listed";
    EXPECT_NE(L"nothing thrown", failureOf<vosexception>([&] { helper.removeFile(inner); })) << "a directory";
    const ReplacedImport query("NtQueryObject", tellNoName);
    EXPECT_NE(std::wstring::npos, failureOf([&] { helper.removeDirectory(clean + L"\\tree"); }).find(L"code 1450"))
        << "an object whose place is unknown";
}

TEST_P(Removal, AsksOnlyOnceForWhatAVolumeDoesNotKnow)
{
    const ReplacedImport set("SetFileInformationByHandle", setWithoutPosix),
        create("NtCreateFile", createWithoutDontReparse);
    const ReplacedImport reopen("ReOpenFile", recordReopening);
    for (int number = 0; number < 10; ++number)
        file(clean + L"\\" + std::to_wstring(number), number == 5 ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL);
    unknown = 0;
    EXPECT_TRUE(cleanAll().empty());
    EXPECT_EQ(L"", content(clean));
    EXPECT_GE(unknown, 2);
    EXPECT_LE(unknown, 3) << "two forms of POSIX removal, and the refusal of links";
    EXPECT_TRUE(reopened == DWORD{FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT} || reopened == 0)
        << reopened;
}
