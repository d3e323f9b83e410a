#include "bench/cleaning.h"

#include "bench/program_run.h"
#include "bench/report.h"

#include "system/default_system_helper.h"

#include <functional>

namespace {

const std::wstring panel = L"C:\\Program Files\\Kelvo Panel", tree = panel + L"\\PrivateTemp\\tree";

/// Moves one of the prepared trees of a kind to the place where the programs clean.
void takeTree(const std::wstring& build, const wchar_t* kind)
{
    // The panel's service ends after some seconds without a client.
    run(build + L"\\devpanel\\devpanel.exe", L"ensure");
    CreateDirectoryW((panel + L"\\PrivateTemp").c_str(), nullptr);
    const std::wstring prepared = panel + L"\\trees\\" + kind;
    for (int number = 1; number < 100; ++number) {
        if (MoveFileW((prepared + std::to_wstring(number)).c_str(), tree.c_str()))
            return;
    }
    std::printf("no tree: %ls\n", kind);
    ExitProcess(1);
}

struct Kind
{
    const char* row;
    // The trees for the times, for the requests, and the directories of the latter without their files.
    const wchar_t *timed, *counted, *hollow;
    double timedFiles, countedFiles;
    int rounds;
};

struct Program
{
    const char* name;
    double requestsAim, timesAim;
    std::function<void()> run;
    bool isSlow = false; // measured once
};

/// For each program its requests or microseconds for each file.
std::vector<double> costsPerFile(const std::wstring& build, const Kind& kind, const std::vector<Program>& programs)
{
    std::vector<double> costs;
    if (requests) {
        for (const Program& program : programs) {
            const auto count = [&](const wchar_t* trees) {
                takeTree(build, trees);
                return requests->of(program.run);
            };
            count(kind.hollow); // warms
            const double hollow = count(kind.hollow);
            costs.push_back((count(kind.counted) - hollow) / kind.countedFiles);
        }
        return costs;
    }
    std::vector<std::vector<double>> times(programs.size());
    for (int round = 0; round < kind.rounds; ++round) {
        for (std::size_t at = 0; at < programs.size(); ++at) {
            if (round > 0 && programs[at].isSlow)
                continue;
            takeTree(build, kind.timed);
            times[at].push_back(microseconds(programs[at].run));
        }
    }
    for (const auto& ofProgram : times)
        costs.push_back(median(ofProgram) / kind.timedFiles);
    return costs;
}

/// The bytes of all allocated heap blocks, with what the heap adds to them. The private bytes of the process would
/// include the cache that Wine keeps for each listed directory, about 110 bytes for each entry.
std::size_t heapBytes()
{
    HANDLE heaps[64];
    const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
    std::size_t bytes = 0;
    for (DWORD at = 0; at < count; ++at) {
        HeapLock(heaps[at]);
        for (PROCESS_HEAP_ENTRY block{}; HeapWalk(heaps[at], &block);)
            bytes += (block.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? block.cbData + block.cbOverhead : 0;
        HeapUnlock(heaps[at]);
    }
    return bytes;
}

} // namespace

void benchCleaning(const std::wstring& build)
{
    std::size_t peak = 0;
    const auto bare = [&](const wchar_t* program) {
        return [=] { run(build + L"\\bench\\" + program, L"\"" + tree + L"\""); };
    };
    std::vector<Program> programs = {
        {"mendkit", 0, 0, [&] { peak = run(build + L"\\app\\mendkit.exe", L"--free-disk-space"); }},
        {"bare loop, same calls", 1.00, 1.10, bare(L"bare_checked_removal.exe")},
        {"find and delete, unchecked", 0, 0, bare(L"bare_removal.exe")},
        {"rd /s /q", 0.25, 0, [] { run(L"C:\\windows\\system32\\cmd.exe", L"/c rd /s /q \"" + tree + L"\""); },
            true}};
    std::vector<double> perFile;
    for (const Kind& kind :
        {Kind{"a removed file, 200 directories", L"timed-small", L"counted-small", L"hollow-small", 20'000, 2'000, 3},
            Kind{"a removed file, 1 directory", L"timed-large", L"counted-large", L"hollow-large", 50'000, 2'000,
                3}}) {
        const std::vector<double> costs = costsPerFile(build, kind, programs);
        for (std::size_t at = 1; at < programs.size(); ++at)
            print(
                kind.row, programs[at].name, {costs[0], costs[at]}, programs[at].requestsAim, programs[at].timesAim);
        perFile.push_back(costs[0]);
        programs.pop_back(); // rd would need many minutes for the large directory
    }
    print("a removed file, 1 directory", "200 directories", {perFile[1], perFile[0]}, 1.10, 1.10);
    if (!requests)
        std::printf("peak memory for 50,000 files: %.1f MB\n", static_cast<double>(peak) / 1e6);
}

void benchListing(const std::wstring& build)
{
    if (requests)
        return;
    KelvoRepairAdapter::DefaultSystemHelper system;
    takeTree(build, L"listed");
    system.listDirectory(tree, 2); // allocates what stays
    const std::size_t before = heapBytes();
    const DirectoryEntries entries = system.listDirectory(tree + L"\\0", 2);
    const std::size_t bytes = heapBytes() - before;
    std::size_t names = 0;
    for (const DirectoryEntry& entry : entries)
        names += entry.name.size() * sizeof(wchar_t);
    std::printf("a listing of %zu entries: %.1f bytes for each besides its name (aim 110)\n", entries.size(),
        static_cast<double>(bytes - names) / static_cast<double>(entries.size()));
}
