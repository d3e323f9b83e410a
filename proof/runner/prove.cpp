// Runs the kit's tests on this machine, one process a test, and reports each of them.

#include "proof/runner/account.h"
#include "proof/runner/disk.h"
#include "proof/runner/facts.h"
#include "proof/runner/machine.h"
#include "proof/runner/options.h"
#include "proof/runner/report.h"
#include "proof/runner/traces.h"
#include "runtime/failure/vexception.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "runtime/text/code_page.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <optional>

namespace {

constexpr int nothingRun = 2;

/// Below the folder of the programs, in the order in which they run. Without test\failing_calls_test.exe: its numbers
/// of handles and calls are those of Wine.
constexpr const wchar_t* programs[] = {L"proof\\facts.exe", L"runtime\\mendkit_runtime_test.exe",
    L"config\\mendkit_config_test.exe", L"logging\\mendkit_logging_test.exe", L"system\\mendkit_system_test.exe",
    L"repair\\mendkit_repair_test.exe", L"app\\mendkit_app_test.exe", L"test\\fixed_texts_test.exe",
    L"test\\program_test.exe", L"test\\links_test.exe"};

constexpr wchar_t accountName[] = L"mendkit_proof";

std::atomic<bool> isInterrupted = false;

BOOL WINAPI interrupt(DWORD)
{
    isInterrupted = true; // the run ends after the fact at hand and removes what it made
    return TRUE;
}

std::vector<Fact> allFacts(const std::wstring& only)
{
    const std::wstring folder = path::combine(moduleFileName(), L"..\\..");
    const std::string part = toNarrow(only, utf8CodePage);
    std::vector<Fact> facts;
    for (const wchar_t* program : programs) {
        for (Fact& fact : factsOf(path::combine(folder, program))) {
            if (fact.name.find(part) != std::string::npos)
                facts.push_back(std::move(fact));
        }
    }
    return facts;
}

void tellTests(const wchar_t* name, const std::wstring& value)
{
    SetEnvironmentVariableW(name, value.empty() ? nullptr : value.c_str());
}

/// Makes what the facts need, runs them and removes it.
int prove(const Options& options, const std::vector<Fact>& facts)
{
    Report report(options.report);
    report.tell("Proof of mendkit " MENDKIT_VERSION);
    for (const std::string& line : describeMachine())
        report.tell(line);

    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const std::wstring diskFile = std::wstring(temp) + L"mendkit_proof.vhdx";
    Disk::remove(diskFile); // of a run that left no mark
    markRun(options.drive.empty() ? diskFile : L"", accountName, options.drive);
    SetConsoleCtrlHandler(interrupt, TRUE);
    // "SetErrorMode function": a child process inherits it. So no test waits for a dialog.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    {
        std::optional<Disk> disk;
        if (options.drive.empty())
            disk.emplace(diskFile);
        const std::wstring drive = disk ? disk->drive() : options.drive;
        report.tell(drive.empty() ? "No disk: " + disk->failure() : "Disk " + toNarrow(drive, utf8CodePage));
        const Account account(accountName);
        report.tell(account.name().empty() ? "No account: " + account.failure()
                                           : "Account " + toNarrow(account.name(), utf8CodePage));
        report.tell(options.mayEmptyWindowsTemp ? "Windows\\Temp of this machine is emptied (--empty-windows-temp)"
                                                : "Windows\\Temp of this machine is not emptied");
        tellTests(L"MENDKIT_PROOF", L"1");
        tellTests(L"MENDKIT_PROOF_DRIVE", drive);
        tellTests(L"MENDKIT_PROOF_BARE_VOLUME", disk ? disk->bareVolume() : L"");
        tellTests(L"MENDKIT_PROOF_ACCOUNT", account.name());
        tellTests(L"MENDKIT_PROOF_PASSWORD", account.password());
        tellTests(L"MENDKIT_PROOF_EMPTY_WINDOWS_TEMP", options.mayEmptyWindowsTemp ? L"1" : L"");
        for (const Fact& fact : facts) {
            if (!isInterrupted)
                report.add(fact, runFact(fact));
        }
        if (isInterrupted)
            report.tell("Interrupted: not all facts were run");
    }
    const std::vector<std::string> left = removeTraces();
    for (const std::string& line : left)
        report.tell("Not removed: " + line + "; call prove.cmd --clean");
    report.note("What Windows keeps of this run:");
    for (const std::string& line : remainingTraces())
        report.note("    " + line);
    report.tell(report.sum());
    return report.hasFailures() || isInterrupted || !left.empty() ? 1 : 0;
}

int refuse(const std::string& objection)
{
    std::printf("%s\nNothing was run.\n", objection.c_str());
    return nothingRun;
}

int run(const Options& options)
{
    if (!options.objection.empty())
        return refuse(options.objection + "\n" + usageOfKit);
    if (options.isHelp) {
        std::printf("%s", usageOfKit);
        return 0;
    }
    if (options.isClean) {
        // Without the note the key and the service may be those of a panel.
        const std::vector<std::string> left = hasMark() ? removeTraces() : std::vector<std::string>();
        for (const std::string& line : left)
            std::printf("Not removed: %s\n", line.c_str());
        return left.empty() ? 0 : 1;
    }
    if (hasMark())
        return refuse("An earlier run was interrupted: call prove.cmd --clean first.");
    std::string objection = objectionToRun();
    if (objection.empty() && Account::exists(accountName))
        objection = "An account mendkit_proof exists, which is not of this kit.";
    if (objection.empty() && !options.drive.empty())
        objection = objectionToDrive(options.drive);
    if (!objection.empty())
        return refuse(objection);
    const std::vector<Fact> facts = allFacts(options.only);
    if (facts.empty())
        return refuse("No fact has such a name.");
    if (!options.isList)
        return prove(options, facts);
    for (const Fact& fact : facts)
        std::printf("%s\n", fact.name.c_str());
    return 0;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    try {
        return run(readOptions(argc - 1, argv + 1));
    } catch (const vexception& failure) {
        return refuse(toNarrow(failure.fullText(), utf8CodePage));
    }
}
