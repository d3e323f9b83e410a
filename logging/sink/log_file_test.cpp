#include "logging/sink/log_file.h"

#include "test/failure.h"
#include "test/file_opens.h"
#include "test/replaced_import.h"
#include "test/sandbox.h"

#include <algorithm>

namespace {

// Found by name, because the import is replaced.
const auto systemQuery = reinterpret_cast<decltype(&GetFileInformationByHandleEx)>(
    reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetFileInformationByHandleEx")));
DWORD shownTag = 0;

/// Shows every file as a reparse point with a tag.
BOOL WINAPI showTag(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, void* information, DWORD size)
{
    const BOOL result = systemQuery(file, kind, information, size);
    if (kind == FileBasicInfo && shownTag != 0)
        static_cast<FILE_BASIC_INFO*>(information)->FileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (kind == FileAttributeTagInfo)
        static_cast<FILE_ATTRIBUTE_TAG_INFO*>(information)->ReparseTag = shownTag;
    return result;
}

void WINAPI tellTime(SYSTEMTIME* time)
{
    *time = {2026, 1, 5, 2, 3, 4, 5, 6};
}

} // namespace

class LogFiles : public RegistrySandbox
{
};

TEST_F(LogFiles, HoldStampedLinesInAFileOfTheLocalDay)
{
    const ReplacedImport time("GetLocalTime", tellTime);
    const FileOpens opens;
    const ProductRoot root;
    std::wstring slashes = root.path();
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    setConfig(L"PRODUCT_ROOT_D", slashes + L"/admin/..");
    for (const wchar_t* text : {L"one", L"two"})
        LogFile(L"debug", true).write(text);
    setConfig(L"log_debug_enabled", 0);
    LogFile(L"debug", true).write(L"none");
    LogFile(L"util_exec", false).write(L"none");
    const std::wstring start = L"2026/01/02 03:04:05.006 " + std::to_wstring(GetCurrentProcessId()) + L" " +
                               std::to_wstring(GetCurrentThreadId()) + L" ";
    EXPECT_EQ(L"\xfeff" + start + L"one\r\n" + start + L"two\r\n", root.log());
    EXPECT_TRUE(root.logFile(L"debug").ends_with(L"\\admin\\logs\\kelvolog_debug20260102.log"));
    EXPECT_EQ(L"c0000000 3 4 200080", FileOpens::of(root.logFile(L"debug"))) << "opened as itself";
    EXPECT_EQ(L"", root.log(L"util_exec"));
}

TEST_F(LogFiles, AreNotWrittenThroughLinks)
{
    const ReplacedImport query("GetFileInformationByHandleEx", showTag);
    const struct
    {
        const char* name;
        DWORD tag;
        bool hasOtherName, isWritten;
    } rows[] = {{"a new file", 0, false, true}, {"a deduplicated file", IO_REPARSE_TAG_DEDUP, false, true},
        {"a symbolic link", IO_REPARSE_TAG_SYMLINK, false, false}, {"a hard link", 0, true, false}};
    for (const auto& [name, tag, hasOtherName, isWritten] : rows) {
        const ProductRoot root;
        setConfig(L"PRODUCT_ROOT_D", root.path());
        const std::wstring other = root.path() + L"\\other";
        shownTag = tag;
        if (hasOtherName) {
            std::ofstream(other.c_str()) << "xx";
            ASSERT_TRUE(CreateHardLinkW(root.logFile(L"debug").c_str(), other.c_str(), nullptr)) << GetLastError();
        }
        const std::wstring failure = failureOf([] { LogFile(L"debug", true).write(L"text"); });
        EXPECT_EQ(isWritten, failure == L"nothing thrown") << name << testing::PrintToString(failure);
        EXPECT_EQ(isWritten, root.log().find(L"text") != std::wstring::npos) << name;
    }
}
