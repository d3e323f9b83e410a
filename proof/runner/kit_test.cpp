// The kit itself, under Wine: what it refuses, what it counts, what it leaves.

#include "proof/runner/facts.h"
#include "test/program.h"
#include "test/text_pattern.h"

namespace {

ChildResult prove(const std::wstring& arguments)
{
    return runChild(builtProgram(L"proof\\prove.exe"), arguments);
}

bool existsKey(const wchar_t* path)
{
    UniqueRegistryKey key;
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, key.receive()) == ERROR_SUCCESS;
}

constexpr wchar_t mark[] = L"SOFTWARE\\mendkit_proof";

/// Other tests leave the stand-in's service, settings and event log, and the kit refuses machines with those.
struct Kit : testing::Test
{
    Kit()
    {
        const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)),
            service(OpenServiceW(manager.get(), L"KelvoSQLServer", DELETE));
        DeleteService(service.get());
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\WOW6432Node\\Kelvo");
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo");
    }
};

} // namespace

TEST_F(Kit, RefusesWrongCallsAndMachinesWithThePanel)
{
    const struct
    {
        const wchar_t* arguments;
        std::string complaint;
    } rows[] = {{L"--bogus", "An option is unknown.\r\nUsage: prove.cmd"},
        {L"--volume", "An option lacks its value."},
        {L"--volume C:", "--volume must name neither the system's volume"},
        {L"--volume D:\\", "--volume needs a drive"}, {L"--only no_such_fact", "No fact has such a name."}};
    for (const auto& [arguments, complaint] : rows) {
        const ChildResult result = prove(arguments);
        EXPECT_EQ(2u, result.exitCode) << testing::PrintToString(std::wstring(arguments));
        EXPECT_EQ(0u, result.output.find(complaint)) << result.output;
    }
    setConfig(L"Debug", 0);
    const ChildResult installed = prove(L"--only Start.");
    EXPECT_EQ(2u, installed.exitCode) << installed.output;
    EXPECT_TRUE(existsKey(L"SOFTWARE\\WOW6432Node\\Kelvo")) << "it removed the panel's key";
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\WOW6432Node\\Kelvo");

    registry::create(HKEY_LOCAL_MACHINE, mark, KEY_WRITE);
    EXPECT_EQ(2u, prove(L"--only Start.").exitCode) << "an interrupted run was not noticed";
    EXPECT_EQ(0u, prove(L"--clean").exitCode);
    EXPECT_FALSE(existsKey(mark));
}

TEST_F(Kit, ReportsEachFactAndRemovesWhatItMade)
{
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const std::wstring file = std::wstring(temp) + L"mendkit_kit_test.txt";
    const ChildResult result = prove(L"--only Start.AddressSpaceLayout --report \"" + file + L"\"");
    EXPECT_EQ(0u, result.exitCode);
    EXPECT_TRUE(fits<char>(result.output, "Proof of mendkit @.@.@\r\nSystem ~\r\nNo disk: diskpart ~\r\nAccount "
                                          "mendkit_proof\r\nWindows\\Temp of this machine is not emptied\r\nskipped "
                                          "Start.AddressSpaceLayout: Wine: ~\r\n0 passed, 0 failed, 1 skipped\r\n"))
        << result.output;
    const std::string report = readFile(file);
    EXPECT_NE(std::string::npos, report.find("\r\nskipped Start.AddressSpaceLayout (")) << report;
    EXPECT_FALSE(existsKey(mark));
    DeleteFileW(file.c_str());
}

TEST_F(Kit, ReadsTheOutcomeFromATestsOutput)
{
    const std::string start = "[ RUN      ] A.B\r\n", ok = "[       OK ] A.B (1 ms)\r\n",
                      skipped = "[  SKIPPED ] A.B (0 ms)\r\n", failed = "[  FAILED  ] A.B (0 ms)\r\n";
    const struct
    {
        std::string output;
        bool isInTime;
        unsigned code;
        Outcome outcome;
        std::string reason;
    } rows[] = {{start + ok, true, 0, Outcome::passed, ""},
        {start + "f.cpp:3: Skipped\r\nno disk\r\n\r\n" + skipped, true, 0, Outcome::skipped, "no disk"},
        {start + "f.cpp:3: Failure\r\nExpected\r\n\r\nis gone\r\nf.cpp:9: Failure\r\nx\r\n" + failed, true, 1,
            Outcome::failed, "Expected | is gone | f.cpp:9: Failure | x"},
        {start + ok, true, 3, Outcome::failed, "its process ended with the code 3"},
        {start, true, 0, Outcome::failed, "its program ended without running it"},
        {start + ok, false, 0, Outcome::failed, "it did not end within 600 seconds"}};
    for (const auto& [output, isInTime, code, outcome, reason] : rows) {
        const FactResult result = readOutput(output, isInTime, code);
        EXPECT_EQ(outcome, result.outcome) << output;
        EXPECT_EQ(reason, result.reason) << output;
    }
    EXPECT_EQ((std::vector<std::string>{"links: 3"}), readOutput("Figure: links: 3\r\n" + ok, true, 0).figures);
}
