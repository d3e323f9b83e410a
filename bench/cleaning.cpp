#include "bench/cleaning.h"

#include "bench/program_run.h"
#include "bench/report.h"

#include <initializer_list>

namespace {

const std::wstring panel = L"C:\\Program Files\\Kelvo Panel", tree = panel + L"\\PrivateTemp\\tree";

/// Moves a prepared tree to the place where the programs clean.
void takeTree(const wchar_t* kind, int number)
{
    CreateDirectoryW((panel + L"\\PrivateTemp").c_str(), nullptr);
    if (!MoveFileW((panel + L"\\trees\\" + kind + std::to_wstring(number)).c_str(), tree.c_str()))
        std::printf("no tree: %lu\n", GetLastError());
}

} // namespace

void benchCleaning(const std::wstring& build)
{
    struct Row
    {
        const wchar_t* kind;
        int rounds;
        double files;
        const char* name;
    };
    std::vector<double> perFile;
    std::size_t peak = 0;
    for (const auto& [kind, rounds, files, row] : {Row{L"small", 3, 20'000, "20,000 files, 200 directories"},
             Row{L"large", 1, 200'000, "200,000 files, 1 directory"}}) {
        std::vector<double> mendkit, rd, bare;
        for (int round = 0, number = 0; round < rounds; ++round) {
            takeTree(kind, number++);
            run(build + L"\\devpanel\\devpanel.exe", L"ensure");
            mendkit.push_back(microseconds([&] { peak = run(build + L"\\app\\mendkit.exe", L"--free-disk-space"); }));
            takeTree(kind, number++);
            bare.push_back(microseconds([&] { run(build + L"\\bench\\bare_removal.exe", L"\"" + tree + L"\""); }));
            // Wine's rd takes ten times as long, and many minutes for the large directory.
            if (round > 0 || kind[0] == L'l')
                continue;
            takeTree(kind, number++);
            rd.push_back(
                microseconds([&] { run(L"C:\\windows\\system32\\cmd.exe", L"/c rd /s /q \"" + tree + L"\""); }));
        }
        perFile.push_back(median(mendkit) / files);
        if (!rd.empty())
            print(row, "rd /s /q", {median(mendkit), median(rd)}, 0.99);
        print(row, "bare find and delete loop", {median(mendkit), median(bare)}, 1.20);
    }
    std::printf("time per file, large directory to small ones: %.2f (aim 1.10); peak memory %.1f MB\n",
        perFile[1] / perFile[0], static_cast<double>(peak) / 1e6);
}
