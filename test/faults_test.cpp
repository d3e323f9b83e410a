// Faults of whole processes: their records, exit codes and dumps, and where their DLLs come from.

#include "test/program.h"
#include "test/text_pattern.h"

#include <sddl.h>

#include <dbghelp.h>

#include <cstddef>
#include <fstream>

namespace {

class Faults : public ProgramRun
{
};

} // namespace

TEST_F(Faults, DumpsAndReportsEveryFault)
{
    // The directory does not exist, so every dump fails and logs a record, which is counted.
    setConfig(L"CrashDumpsLocation", root.path() + L"\\missing");
    const std::string fault = "C structured exception: 0xc00000", end = "Unexpected end of the program";
    const struct
    {
        const wchar_t* word;
        std::string output;
        std::uint32_t exitCode;
        int dumps;
    } rows[] = {{L"none", "", 0, 0}, {L"handled", "", 0, 0}, {L"null", fault + "05", 1, 1},
        {L"callback", fault + "05", 1, 1},
        {L"write", fault + "05\r\n   at (KelvoRepair::Adapter::getServiceStatus", 1, 1},
        {L"system", fault + "05", 1, 1}, {L"later", fault + "05", 1, 1}, {L"division", fault + "94", 1, 1},
#ifdef MENDKIT_UBSAN // the process ends as by a failed check
        {L"instruction", "Undefined behaviour at ", EXCEPTION_ILLEGAL_INSTRUCTION, 0},
#else
        {L"instruction", fault + "1d", 1, 1},
#endif
        {L"twice", fault + "fd", 1, 2}, {L"heap", "C structured exception: 0xc0000374\r\n", 1, 1},
        {L"software", "C structured exception: 0xe0000001\r\n   at (KelvoRepair::Adapter::getServiceStatus", 1, 1},
        {L"warning", "C structured exception: 0x80000001\r\n   at (", 1, 1},
        {L"foreign", "C structured exception: 0xe06d7363\r\n   at (", 1, 1}, {L"logging", "logged", 0, 1},
        {L"noexcept", end + ": failed\r\n   at (fail line 7)\r\n", 1, 0},
        {L"thread", end + ": failed\r\n   at (fail line 7)\r\n", 1, 0}, {L"closed", end + ": " + fault + "05", 1, 1},
        {L"outside", end + ": " + fault + "05", 1, 1},
        {L"smash", end + ": a buffer on the stack overflowed\r\n", 1, 0}, {L"first", end + "\r\n", 1, 0},
        {L"end", end + "\r\n", 1, 0}};
    for (const auto& [word, output, exitCode, dumps] : rows) {
        const ChildResult result = runChild(builtProgram(L"test\\fault_program.exe"), word);
        EXPECT_EQ(exitCode, result.exitCode) << word;
        EXPECT_NE(std::string::npos, result.output.find(output)) << word << result.output;
        const std::string record = "Unable to call internalDumpMiniDump(";
        int records = 0;
        for (std::size_t at = 0; (at = result.output.find(record, at)) != std::string::npos; ++at)
            ++records;
        EXPECT_EQ(dumps, records) << word;
    }

    const std::wstring location = root.path() + L"\\" + std::wstring(240, L'd');
    setConfig(L"CrashDumpsLocation", location);
    const std::string output = runChild(builtProgram(L"test\\fault_program.exe"), L"write").output;
    EXPECT_NE(std::string::npos, output.find("\\ddd")) << output;
    EXPECT_NE(std::string::npos, output.find("d' is longer than 260 characters\r\n   at (CrashDumpInfo::dump "))
        << output;
}

TEST_F(Faults, PruneOldDumpsInTheLastResort)
{
    const std::wstring older = root.path() + L"\\admin\\older.dmp";
    setConfig(L"CrashDumpsLocation", root.path() + L"\\admin");
    setConfig(L"CrashDumpsMaxCount", 0);
    std::ofstream(older.c_str()) << "x";
    EXPECT_EQ(1u, runChild(builtProgram(L"test\\fault_program.exe"), L"noexcept").exitCode);
    EXPECT_FALSE(path::isFile(older));
}

TEST_F(Faults, EndsADumpThatHangsAndLeavesNoPartOfIt)
{
    const std::wstring dumps = root.path() + L"\\admin\\";
    setConfig(L"CrashDumpsLocation", dumps);
    const ChildResult result =
        runChild(builtProgram(L"test\\fault_program.exe"), L"\"hanging dump\""); // in hastened time
    EXPECT_EQ(1u, result.exitCode);
    EXPECT_TRUE(fits<char>(result.output, "The crash dump was not written in time: 0xc0000005 at 0x~\r\n"))
        << result.output;
    WIN32_FIND_DATAW found;
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileW((dumps + L"*.dmp").c_str(), &found));
}

TEST_F(Faults, LoadsNoDllFromItsOwnDirectory)
{
    const std::wstring copy = builtProgram(L"test\\mendkit_beside.dll");
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    ASSERT_TRUE(CopyFileW((system + std::wstring(L"\\shlwapi.dll")).c_str(), copy.c_str(), FALSE)) << GetLastError();
    EXPECT_EQ(0u, runChild(builtProgram(L"test\\fault_program.exe"), L"dll").exitCode);
    DeleteFileW(copy.c_str());
}

// One dump only: Wine takes up to a minute to write it, a piece of 1 KB for each request to its server.
TEST_F(Faults, PrunesOldDumpsAndProtectsTheNewOne)
{
    const std::wstring dumps = root.path() + L"\\admin\\logs\\", older = dumps + L"older.dmp",
                       other = dumps + L"fault_program.dmpold";
    setConfig(L"CrashDumpsLocation", dumps);
    setConfig(L"CrashDumpsMaxCount", 1);
    for (const std::wstring& file : {older, other})
        std::ofstream(file.c_str()) << "x";
    EXPECT_EQ(1u, runChild(builtProgram(L"test\\fault_program.exe"), L"stack").exitCode);
    EXPECT_FALSE(path::isFile(older));
    EXPECT_EQ("x", readFile(other)) << "not a dump: only its short name ends in .dmp";

    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((dumps + L"fault_program????????_??????.dmp").c_str(), &found);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    FindClose(search);
    std::string dump = readFile(dumps + found.cFileName);
    void* stream = nullptr;
    ASSERT_TRUE(MiniDumpReadDumpStream(dump.data(), ExceptionStream, nullptr, &stream, nullptr));
    MINIDUMP_EXCEPTION exception; // copied: in the file it is not aligned
    memcpy(&exception, static_cast<BYTE*>(stream) + offsetof(MINIDUMP_EXCEPTION_STREAM, ExceptionRecord),
        sizeof exception);
    EXPECT_EQ(DWORD{EXCEPTION_STACK_OVERFLOW}, exception.ExceptionCode);

    BYTE rights[1024];
    DWORD size = sizeof rights;
    GetFileSecurityW((dumps + found.cFileName).c_str(), DACL_SECURITY_INFORMATION, rights, size, &size);
    wchar_t* text = nullptr;
    ConvertSecurityDescriptorToStringSecurityDescriptorW(
        rights, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr);
    const UniqueLocalMemory memory(text);
    EXPECT_EQ(std::wstring::npos, std::wstring(text).find(L"WD)")) << text;
}
