#include "logging/crash_dump.h"

#include "logging/crash_dump_file.h"
#include "logging/crash_dump_info.h"
#include "logging/crash_dump_pruning.h"
#include "runtime/cwrpexception.h"
#include "runtime/identity.h"
#include "runtime/vosexception.h"
#include "test/dump_reader.h"
#include "test/failure.h"
#include "test/recording_handler.h"

#include <aclapi.h>

#include <functional>
#include <set>

namespace {

class CrashDump : public RegistrySandbox
{
protected:
    ~CrashDump() override { structured_exception::setObserver(nullptr); }

    /// @param age  the higher, the older
    void makeFile(const std::wstring& name, int age = 0) const
    {
        const UniqueFile file(CreateFileW(
            (directory + name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr));
        FILETIME time;
        GetSystemTimeAsFileTime(&time);
        time.dwHighDateTime -= static_cast<DWORD>(age);
        EXPECT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));
    }

    const ProductRoot root;
    const std::wstring directory = root.path() + L"\\admin\\";
};

void* volatile const badAddress = reinterpret_cast<void*>(16);

void fail(const std::function<void()>& fault)
{
    const structured_exception::TranslatorScope scope;
    try {
        fault();
    } catch (...) {
    }
}

void writeBadAddress()
{
    *static_cast<volatile int*>(badAddress) = 1;
}

} // namespace

TEST_F(CrashDump, IsNamedAsTheSettingsSay)
{
    const auto nameOf = [] {
        std::wstring name = CrashDumpInfo().getFileName();
        const auto digits = std::min(name.size(), name.rfind(L"test") + 4);
        for (auto at = name.begin() + static_cast<std::ptrdiff_t>(digits); at != name.end(); ++at)
            *at = iswdigit(*at) ? L'#' : *at;
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

TEST_F(CrashDump, HoldsTheFaultAndIsForAdministratorsOnly)
{
    static std::wstring path;
    path = directory + L"x.dmp";
    makeFile(L"x.dmp"); // its rights and owner must not pass to the dump
    structured_exception::setObserver(
        [](EXCEPTION_POINTERS* pointers) { internalDumpMiniDump(path, pointers, MiniDumpNormal); });
    fail(writeBadAddress);
    const DumpContents dump(path);
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, dump.exception.ExceptionCode);
    EXPECT_EQ(1u, dump.exception.ExceptionInformation[0]) << "a write";
    EXPECT_EQ(16u, dump.exception.ExceptionInformation[1]);
    EXPECT_TRUE(dump.hasThread && dump.faultIsInModule);

    PSID fileOwner = nullptr;
    ACL* acl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
        &fileOwner, nullptr, &acl, nullptr, &descriptor);
    const UniqueLocalMemory memory(descriptor);
    ASSERT_NE(nullptr, acl);
    std::set<std::wstring> allowed;
    void* ace = nullptr;
    for (DWORD index = 0; GetAce(acl, index, &ace); ++index)
        allowed.insert(identity::Sid(&static_cast<ACCESS_ALLOWED_ACE*>(ace)->SidStart).text());
    // The owner is the group of administrators; Wine has it stand for the user who runs it.
    EXPECT_EQ((std::set<std::wstring>{L"S-1-5-18", identity::Sid(fileOwner).text()}), allowed);
}

TEST_F(CrashDump, IsLoggedAndGoneWhenItFails)
{
    for (const auto& [path, error] :
        std::initializer_list<std::pair<std::wstring, DWORD>>{{directory + L"missing\\x.dmp", ERROR_PATH_NOT_FOUND},
            {directory + L"logs", ERROR_FILE_EXISTS}, {L"", ERROR_PATH_NOT_FOUND}}) {
        RecordingHandler log;
        testing::internal::CaptureStdout();
        internalDumpMiniDump(path, nullptr, MiniDumpNormal);
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(1u, log.records.size());
        EXPECT_EQ(LogLevel::Error, log.records[0].level);
        const std::wstring& text = log.records[0].message;
        EXPECT_TRUE(text.ends_with(L") Unable to call internalDumpMiniDump(" + path + L")")) << text;
        EXPECT_EQ(failureOf([&] {
            throwOsError(error, L"CreateFile '" + path + L"'", {"f", 1});
        }),
            messageIn(text) + L"\n   at (f line 1)");
    }
    makeFile(L"x.dmp");
    CrashDumpFile(directory + L"x.dmp").duplicate().reset(); // not kept
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW((directory + L"x.dmp").c_str()));
}

TEST_F(CrashDump, IsWrittenOncePerFault)
{
    setConfig(L"PRODUCT_ROOT_D", root.path()); // where no directory for dumps is: each one leaves a record instead
    structured_exception::reserveStack();
    for (const DWORD enabled : {1u, 0u}) {
        setConfig(L"CrashDumpsEnabled", enabled);
        const CrashDumpInfo info;
        for (const auto& [fault, dumps] : std::initializer_list<std::pair<std::function<void()>, DWORD>>{
                 {writeBadAddress, 1}, {[] { RaiseException(0xc0000374, EXCEPTION_NONCONTINUABLE, 0, nullptr); }, 1},
                 {[] { RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 0, nullptr); }, 1}, {[] { throw 1; }, 0},
                 {[] { OutputDebugStringW(L"x"); }, 0}, {[] { IsBadReadPtr(badAddress, 1); }, 0}}) {
            RecordingHandler log;
            testing::internal::CaptureStdout();
            fail(fault);
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(dumps * enabled, log.records.size());
        }
    }
}

TEST_F(CrashDump, OldOnesArePruned)
{
    const auto left = [&](DWORD maxCount) {
        pruneCrashDumps(directory + L".", maxCount);
        std::set<std::wstring> names;
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW((directory + L"*.*mp*").c_str(), &found);
        for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found))
            names.insert(found.cFileName);
        FindClose(search);
        return names;
    };
    CreateDirectoryW((directory + L"old.dmp").c_str(), nullptr);
    makeFile(L"locked.dmp", 9);
    makeFile(L"a.dmp.zip", 8);
    makeFile(L"b.dmpx", 8);
    makeFile(L"first.DMP", 3);
    makeFile(L"c.dmp", 2);
    makeFile(L"b.dmp", 1);
    makeFile(L"a.dmp");
    const UniqueFile lock(
        CreateFileW((directory + L"locked.dmp").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    std::set<std::wstring> expected{
        L"old.dmp", L"locked.dmp", L"a.dmp.zip", L"b.dmpx", L"first.DMP", L"a.dmp", L"b.dmp", L"c.dmp"};
    EXPECT_EQ(expected, left(0xffffffff));
    EXPECT_EQ(expected, left(4)) << "one too many, but the oldest cannot be removed";
    expected.erase(L"first.DMP");
    expected.erase(L"c.dmp");
    EXPECT_EQ(expected, left(2));
    expected.erase(L"a.dmp");
    expected.erase(L"b.dmp");
    EXPECT_EQ(expected, left(0));
    pruneCrashDumps(directory + L"missing", 0);
    pruneCrashDumps(std::wstring(40'000, L'x'), 0);
    pruneCrashDumps(L"", 0);
}
