// An attacker who changes a cleaned tree while it is cleaned, and what keeps him from it.

#include "proof/facts/cleaning.h"
#include "system/cleaning/nt_directory_source.h"
#include "system/cleaning/open_object.h"

#include <atomic>
#include <iostream>
#include <list>
#include <thread>

namespace {

constexpr int directories = 20;

std::wstring nameOf(int number)
{
    return L"d" + std::to_wstring(number);
}

/// Refills a cleaned directory and exchanges its directories for junctions to those of the canaries, again and again,
/// on a thread of its own.
class Attacker
{
public:
    explicit Attacker(const LinkTree& tree) : tree_(tree), thread_(&Attacker::run, this) {}
    Attacker(const Attacker&) = delete;
    Attacker& operator=(const Attacker&) = delete;
    ~Attacker() { stop(); }

    void stop()
    {
        isOver_ = true;
        if (thread_.joinable())
            thread_.join();
    }

    /// The junctions that took the place of a directory.
    int landed() const { return landed_; }

private:
    void run()
    {
        const auto account = AsOtherAccount::refusal().empty() ? std::make_unique<AsOtherAccount>() : nullptr;
        for (int round = 0; !isOver_; ++round) {
            const bool isExchange = round % 2 == 0;
            // All of them: a directory is listed in one step, and its entries are opened some time later.
            for (int number = 0; number < directories && !isOver_; ++number)
                attack(nameOf(number), isExchange);
            Sleep(1);
            for (int number = 0; number < directories; ++number)
                undo(nameOf(number), isExchange);
            Sleep(1);
        }
    }

    void attack(const std::wstring& name, bool isExchange)
    {
        const std::wstring path = L"dumps\\" + name, away = L"away\\" + name;
        const Node link = junction(path, L"@\\canary\\" + name);
        if (isLeft(path))
            return;
        tree_.make(file(path + L"\\sub\\f"));       // the program may have removed it
        if (isExchange && tree_.rename(path, away)) // by its name
            landed_ += tree_.make(link);
        if (!isExchange && tree_.rename(path + L"\\sub", away)) // in its place, where the program may have it open
            landed_ += tree_.turnIntoLink(link);
    }

    /// Whether a junction of the last round is, or may be, still there: the attacker himself must not act through it.
    bool isLeft(const std::wstring& path) const
    {
        const UniqueFile object = tree_.open(path, FILE_READ_ATTRIBUTES);
        if (!object)
            return GetLastError() != ERROR_FILE_NOT_FOUND; // its directory is always there
        FILE_BASIC_INFO info{};
        return !GetFileInformationByHandleEx(object.get(), FileBasicInfo, &info, sizeof info) ||
               (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }

    void undo(const std::wstring& name, bool isExchange)
    {
        const std::wstring path = L"dumps\\" + name, away = L"away\\" + name;
        tree_.remove(path);
        if (isExchange)
            tree_.rename(away, path);
        for (const wchar_t* left : {L"\\sub\\f", L"\\sub", L"\\f", L""}) // where it could not be moved back
            tree_.remove(away + left);
    }

    const LinkTree& tree_;
    std::atomic<bool> isOver_ = false;
    std::atomic<int> landed_ = 0;
    std::thread thread_;
};

} // namespace

TEST_F(Cleaning, Races)
{
    NEEDS_LINKS()
    const ULONGLONG time = kit::isWine() ? 5'000 : 60'000;
    makeOpenDirectory(L"dumps");
    makeOpenDirectory(L"away");
    for (int number = 0; number < directories; ++number) {
        ASSERT_TRUE(makeAll({file(L"canary\\" + nameOf(number) + L"\\f"),
            file(L"canary\\" + nameOf(number) + L"\\sub\\f"), file(L"dumps\\" + nameOf(number) + L"\\sub\\f")}));
    }
    const Snapshot canaries = tree.snapshot(L"canary");
    const auto service = servePanel(L"@\\dumps");
    setConfig(L"Debug", 0); // thousands of records otherwise
    int runs = 0;
    const ULONGLONG begun = GetTickCount64();
    Attacker attacker(tree);
    while (GetTickCount64() - begun < time && !HasFailure()) {
        ASSERT_TRUE(tree.make(file(L"dumps\\last"))) << GetLastError();
        const ChildResult result = runChild(builtProgram(L"app\\mendkit.exe"), L"--free-disk-space");
        EXPECT_EQ(0u, result.exitCode) << "the attacker made the command fail: " << result.output;
        EXPECT_FALSE(exists(L"dumps\\last")) << "the attacker kept another file from being removed";
        ++runs;
        EXPECT_TRUE(canaries == tree.snapshot(L"canary")) << "the program removed canaries, in run " << runs;
    }
    attacker.stop();
    terminate(*service);
    EXPECT_LT(0, attacker.landed()) << "no attack landed: this run shows nothing";
    std::cout << "Figure: races, " << runs << " runs, " << attacker.landed() << " junctions put in the place of "
              << "directories, of " << canaries.size() << " canaries " << tree.snapshot(L"canary").size()
              << " are left\n";
}

TEST_F(Cleaning, OpenDirectoriesStay)
{
    ASSERT_TRUE(tree.make(file(L"dumps\\dir\\f")));
    NtDirectorySource source;
    OpenObject volume(source), base(source), dumps(source), dir(source);
    const std::wstring top = L"\\\\?\\" + tree.expanded(L"^"), folder = tree.at(L"").substr(3);
    ASSERT_EQ(0u, source.openRoot(top, false, volume.receive()));
    ASSERT_EQ(0u, source.open(volume.get(), folder, {}, base.receive()));
    const Opening pinned{.type = Opening::Type::directory, .list = true, .pinned = true};
    ASSERT_EQ(0u, source.open(base.get(), L"dumps", pinned, dumps.receive()));
    ASSERT_EQ(0u, source.open(dumps.get(), L"dir", pinned, dir.receive()));
    const auto isRefused = [&](const wchar_t* path) { return !tree.open(path, DELETE); };
    EXPECT_TRUE(isRefused(L"dumps") && isRefused(L"dumps\\dir"))
        << "others can rename or replace a directory that the program has open";
    EXPECT_EQ(DWORD{ERROR_SHARING_VIOLATION}, GetLastError());
    dir.close();
    dumps.close();
    EXPECT_TRUE(movesPatiently(L"dumps", L"renamed")) << "the fact shows nothing: the directory cannot be renamed";
}

TEST_F(Cleaning, RedirectionTrust)
{
    SKIP_UNDER_WINE("no redirection trust");
    const auto isEnforced = [](HANDLE process, bool& isKnown) {
        PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY policy{};
        isKnown = GetProcessMitigationPolicy(process, ProcessRedirectionTrustPolicy, &policy, sizeof policy) != FALSE;
        return isKnown && policy.EnforceRedirectionTrust;
    };
    bool isKnown = false, isSet = isEnforced(GetCurrentProcess(), isKnown);
    if (!isKnown)
        GTEST_SKIP() << "this Windows does not know redirection trust";
    if (isSet)
        GTEST_SKIP() << "redirection trust is enforced here for every process";
    std::list<UniqueFile> busy; // they keep the program for two seconds
    for (int number = 0; number < 40; ++number) {
        const std::wstring path = L"dumps\\" + std::to_wstring(number);
        ASSERT_TRUE(tree.make(file(path)));
        busy.emplace_back(CreateFileW(tree.at(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    }
    const auto service = servePanel(L"@\\dumps");
    vexecutil child;
    child.path = builtProgram(L"app\\mendkit.exe");
    child.arguments = L"--free-disk-space";
    child.stdoutFile = root.path() + L"\\output.log";
    startPatiently(child);
    bool isTold = false; // Microsoft's page on GetProcessMitigationPolicy does not say so for other processes
    while (!isSet && !child.waitForExit(1)) {
        isSet = isEnforced(child.process.get(), isKnown);
        isTold |= isKnown;
    }
    EXPECT_TRUE(child.waitForExit(50'000));
    terminate(*service);
    PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY policy{};
    policy.EnforceRedirectionTrust = 1;
    if (!isTold || !SetProcessMitigationPolicy(ProcessRedirectionTrustPolicy, &policy, sizeof policy))
        GTEST_SKIP() << "this Windows does not take redirection trust, or does not tell it of another process";
    EXPECT_TRUE(isSet) << "the kernel was not told to refuse links of others";
}
