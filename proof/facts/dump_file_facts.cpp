// The files of crash dumps and logs, in directories that others may write to.

#include "logging/crash/crash_dump_file.h"
#include "proof/facts/cleaning.h"
#include "proof/facts/suites.h"
#include "test/privileges.h"

#include <sddl.h>

#include <dbghelp.h>

#include <iostream>

namespace {

/// Makes a symbolic link to a file, as programs do.
bool makeSymbolicLink(const std::wstring& link, const std::wstring& file)
{
    const Privileges all;
    return CreateSymbolicLinkW(link.c_str(), file.c_str(), 0);
}

} // namespace

/// Facts about the files of crash dumps.
class Dumps : public TreeRun
{
};

TEST_F(Dumps, AccessList)
{
    SKIP_UNDER_WINE("access lists are reduced to the bits of the Unix file");
    const std::wstring folder = root.path() + L"\\dumps\\";
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    setConfig(L"CrashDumpsLocation", folder);
    EXPECT_EQ(1u, runChild(builtProgram(L"test\\fault_program.exe"), L"write").exitCode);
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"*.dmp").c_str(), &found);
    ASSERT_NE(INVALID_HANDLE_VALUE, search) << "no dump was written";
    FindClose(search);
    BYTE rights[1024];
    DWORD size = sizeof rights;
    constexpr SECURITY_INFORMATION all = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    ASSERT_TRUE(GetFileSecurityW((folder + found.cFileName).c_str(), all, rights, size, &size)) << GetLastError();
    wchar_t* text = nullptr;
    ASSERT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(rights, SDDL_REVISION_1, all, &text, nullptr));
    const UniqueLocalMemory memory(text);
    std::wstring list = text;
    if (const std::size_t mark = list.find(L"PAI("); mark != std::wstring::npos)
        list.erase(mark + 1, 2); // only says how it was made
    EXPECT_EQ(L"O:BAD:P(A;;FA;;;SY)(A;;FA;;;BA)", list)
        << "others than SYSTEM and the administrators can read a dump or change its access list";
}

TEST_F(Dumps, NameIsALink)
{
    NEEDS_LINKS()
    SKIP_UNDER_WINE("CreateFile follows links");
    for (const bool isSymbolic : {true, false}) {
        tree.clear();
        ASSERT_TRUE(tree.make(file(L"canary")));
        const std::wstring name = tree.at(L"dumps\\x.dmp");
        ASSERT_TRUE(tree.make(directory(L"dumps")));
        if (isSymbolic)
            ASSERT_TRUE(tree.make(fileLink(L"dumps\\x.dmp", L"@\\canary"))) << GetLastError();
        else
            ASSERT_TRUE(CreateHardLinkW(name.c_str(), tree.at(L"canary").c_str(), nullptr)) << GetLastError();
        {
            CrashDumpFile dump(name);
            DWORD size = 0;
            EXPECT_TRUE(WriteFile(dump.duplicate().get(), "dump", 4, &size, nullptr)) << GetLastError();
            dump.keep();
        }
        EXPECT_EQ("x", readFile(tree.at(L"canary"))) << "a dump was written through a planted link";
        EXPECT_EQ("dump", readFile(name)) << "the dump is not in its file";
    }
}

TEST_F(Dumps, FailedDump)
{
    SKIP_UNDER_WINE("MiniDumpWriteDump reports success, whatever happens to the file");
    ASSERT_TRUE(tree.make(file(L"x.dmp")));
    const UniqueFile readOnly(
        CreateFileW(tree.at(L"x.dmp").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(MiniDumpWriteDump(
        GetCurrentProcess(), GetCurrentProcessId(), readOnly.get(), MiniDumpNormal, nullptr, nullptr, nullptr))
        << "a dump that cannot be written is reported as written";
    const DWORD code = GetLastError(); // Microsoft's page on MiniDumpWriteDump: an HRESULT
    EXPECT_TRUE(FAILED(static_cast<HRESULT>(code))) << "the record of a failed dump names a wrong code: " << code;
    std::cout << "Figure: a dump into a file that is open for reading fails with 0x" << std::hex << code << "\n";
    const std::wstring name = tree.at(L"failed.dmp");
    {
        const CrashDumpFile failed(name); // not kept
    }
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(name.c_str())) << "a failed dump leaves its file";
}

TEST_F(Log, Links)
{
    const LinkTree tree;
    if (!tree.exists())
        GTEST_SKIP() << "there is no volume for trees that are cleaned";
    const struct
    {
        const char* name;
        bool isSymbolic;
    } rows[] = {{"another name of a file", false}, {"a symbolic link", true}};
    const std::wstring log = root.logFile(L"debug");
    setConfig(L"Debug", 1);
    for (const auto& [name, isSymbolic] : rows) {
        if (isSymbolic && kit::isWine())
            continue; // CreateFile follows links
        ASSERT_TRUE(tree.make(file(L"canary"))) << GetLastError();
        const std::wstring canary = tree.at(L"canary");
        if (!isSymbolic)
            ASSERT_TRUE(CreateHardLinkW(log.c_str(), canary.c_str(), nullptr)) << GetLastError();
        else
            ASSERT_TRUE(makeSymbolicLink(log, canary)) << GetLastError();
        const ChildResult result = run(L"--get-service-status --name=none");
        EXPECT_EQ(0u, result.exitCode) << name << ": the command fails for its log: " << result.output;
        EXPECT_EQ("x", readFile(canary))
            << name << ": a line of the log was written into a file of another directory";
        ASSERT_TRUE(DeleteFileW(log.c_str())) << GetLastError();
    }
}
