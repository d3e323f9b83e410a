#include "system/cleaning/cleaning_run.h"

#include "runtime/failure/vosexception.h"
#include "test/event_reports.h"
#include "test/failure.h"
#include "test/recording_handler.h"
#include "test/registry_override.h"
#include "test/scripted_directory_source.h"

#include <gtest/gtest.h>

namespace {

std::vector<NeededDirectories::Needed> needed()
{
    static constexpr const wchar_t* exceptions[] = {L"\\temp", L"\\Profiles\\*\\Temp"};
    return {{L"X:\\Windows", true, exceptions}, {L"X:\\panel\\data"}, {L"X:\\panel\\etc", true}, {L"X:\\missing"}};
}

struct Cleaning : testing::Test
{
    Cleaning() { setConfig(L"PRODUCT_ROOT_D", std::wstring(L"C:\\missing")); }

    const RegistryOverride machine; // `Debug` is off
    const EventReports events;
    ScriptedSource source;
    Node* const clean = source.add(source.volume, L"clean");
    RecordingHandler records;
    std::optional<CleaningRun> run{std::in_place, source, needed, 50};

    /// The directory at a path of one volume; it and those above it are made when they are missing.
    Node* at(const std::wstring& path)
    {
        Node* node = source.volume;
        std::wstringstream names(path);
        for (std::wstring name; std::getline(names, name, L'\\');)
            node = ScriptedSource::find(node, name) ? ScriptedSource::find(node, name) : source.add(node, name);
        return node;
    }
    Node* file(const std::wstring& directory, const std::wstring& name)
    {
        return source.add(at(directory), name, ObjectKind::file);
    }

    /// Lists a directory and removes its entries, as the command does. @return the failures
    int cleanDirectory(const std::wstring& path)
    {
        int failures = 0;
        for (const DirectoryEntry& entry : run->list(path, ListingKind::directoriesThenFiles)) {
            const std::wstring inside = path + L"\\" + entry.name;
            const std::wstring failure = failureOf<vosexception>(
                [&] { entry.isRealDirectory() ? run->removeDirectory(inside) : run->removeFile(inside); });
            failures += failure == L"nothing thrown" ? 0 : 1;
        }
        return failures;
    }

    /// The records of a level, each with a line end; milliseconds are replaced.
    std::wstring logged(LogLevel level)
    {
        std::wstring all;
        for (const auto& record : records.records) {
            if (record.level == level)
                all += record.message + L"\n";
        }
        for (std::size_t end = 0; (end = all.find(L" ms", end)) != std::wstring::npos; end += 1) {
            const std::size_t start = all.rfind(L' ', end - 1) + 1;
            all.replace(start, end - start, L"#");
            end = start + 1;
        }
        return all;
    }
};

} // namespace

TEST_F(Cleaning, RefusesDirectoriesThatAreNeededHoweverTheyAreReached)
{
    for (const wchar_t* path :
        {L"Windows\\System32\\drivers", L"Windows\\Temp\\x", L"Windows\\Temporary", L"Windows\\Profiles\\a\\Temp",
            L"Windows\\Profiles\\Temp", L"panel\\data\\x", L"panel\\etc\\x", L"panel\\x"})
        file(path, L"f");
    source.link(source.volume, L"link", at(L"Windows\\System32"), L"\\\\?\\X:\\Windows\\System32")->isTrusted = true;
    const struct
    {
        const wchar_t* path;
        const wchar_t* reason; // null: it is cleaned
    } rows[] = {{L"X:\\Windows\\System32\\drivers", L"lies in"}, {L"X:\\Windows\\Temporary", L"lies in"},
        {L"X:\\Windows\\Profiles", L"lies in"}, {L"X:\\Windows\\Profiles\\Temp", L"lies in"},
        {L"X:\\Windows", L"holds"}, {L"X:\\panel", L"holds"}, {L"X:\\panel\\data", L"holds"},
        {L"X:\\panel\\etc", L"holds"}, {L"X:\\panel\\etc\\x", L"lies in"}, {L"X:\\link", L"lies in"},
        {L"X:\\link\\drivers", L"lies in"}, {L"X:\\", L"is the root"}, {L"X:\\Windows\\Temp\\x", nullptr},
        {L"X:\\Windows\\Temp", nullptr}, {L"X:\\Windows\\Profiles\\a\\Temp", nullptr},
        {L"X:\\panel\\data\\x", nullptr}, {L"X:\\panel\\x", nullptr}};
    for (const auto& [path, reason] : rows) {
        records.records.clear();
        const std::wstring before = ScriptedSource::content(source.volume);
        cleanDirectory(path);
        EXPECT_EQ(reason != nullptr, before == ScriptedSource::content(source.volume))
            << testing::PrintToString(path);
        EXPECT_NE(std::wstring::npos, logged(LogLevel::Warning).find(reason ? reason : L""))
            << testing::PrintToString(path);
        EXPECT_EQ(reason ? 1u : 0u, EventReports::take().size()) << testing::PrintToString(path);
    }
}

TEST_F(Cleaning, RefusesALocalDirectoryWithoutAnIdentity)
{
    run->list(L"X:\\clean", ListingKind::files); // what is needed is known from now on
    file(L"clean", L"f");
    source.tellsIds = false;
    EXPECT_EQ(0u, run->list(L"X:\\clean", ListingKind::files).size());
    EXPECT_NE(std::wstring::npos, logged(LogLevel::Warning).find(L"does not tell"));
    source.remote = true;
    EXPECT_EQ(1u, run->list(L"X:\\clean", ListingKind::files).size()) << "a file server need not tell it";
}

TEST_F(Cleaning, LeavesADirectoryAfterTwoRemovalsThatDoNotReturn)
{
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"})
        file(L"clean", name)->isHeld = true;
    file(L"clean\\tree", L"free");
    Node* const next = file(L"next", L"f")->parent;
    EXPECT_EQ(2, cleanDirectory(L"X:\\clean"));
    EXPECT_EQ(2, source.cancelled);
    EXPECT_EQ(0, cleanDirectory(L"X:\\next"));
    EXPECT_EQ(L"", ScriptedSource::content(next));
    EXPECT_EQ(L"The rest of the directory 'X:\\clean' is left alone: another process keeps removals waiting\n",
        logged(LogLevel::Warning));
    EXPECT_TRUE(logged(LogLevel::Info)
                    .find(L"2 entries removed (4096 bytes), 4 kept, # ms. The first one that was "
                          L"kept: 'X:\\clean\\a', ") != std::wstring::npos)
        << testing::PrintToString(logged(LogLevel::Info));
}

TEST_F(Cleaning, EndsInADirectoryThatGrowsAsFastAsItIsEmptied)
{
    file(L"clean\\tree", L"0");
    int grown = 0;
    source.afterRemoval = [&] {
        if (++grown < 1'000)
            file(L"clean\\tree", std::to_wstring(1'000'000 + grown));
    };
    EXPECT_EQ(1, cleanDirectory(L"X:\\clean"));
    EXPECT_EQ(1, grown);
}

TEST_F(Cleaning, TellsWhatBecameOfTheEntries)
{
    for (const wchar_t* path : {L"clean", L"clean\\tree", L"clean\\tree\\inner"}) {
        for (const wchar_t* name : {L"a", L"b", L"c"})
            file(path, name);
    }
    source.link(clean, L"link", source.volume);
    cleanDirectory(L"X:\\clean");
    cleanDirectory(L"X:\\nothing");
    run->finish();
    run->finish();
    EXPECT_EQ(L"Directory 'X:\\clean': 12 entries removed (36864 bytes), 0 kept, # ms\n"
              L"Directory 'X:\\nothing': 0 entries removed (0 bytes), 0 kept, # ms\n"
              L"Cleaned 2 directories: 12 entries removed (36864 bytes), 0 kept, # ms\n",
        logged(LogLevel::Info));
    EXPECT_EQ(L"", logged(LogLevel::Warning));

    file(L"clean", L"held")->isHeld = true;
    cleanDirectory(L"X:\\clean");
    EventReports::take();
    run->finish();
    EXPECT_EQ(std::vector<WORD>{EVENTLOG_WARNING_TYPE}, EventReports::take());
    EXPECT_TRUE(
        logged(LogLevel::Warning).starts_with(L"No disk space was freed: 0 entries removed (0 bytes), 1 kept"));
    file(L"clean", L"free");
    cleanDirectory(L"X:\\clean");
    run->finish();
    EXPECT_TRUE(EventReports::take().empty()) << "some space was freed";
    run.reset();
    EXPECT_EQ(0, source.openObjects);
}

TEST(ToldSizes, AreFoundInTheOrderOfTheListing)
{
    ToldSizes sizes;
    const std::uint64_t all[] = {0, 127, 128, 4096, 1ULL << 45, ~0ULL, 5};
    for (const std::uint64_t size : all)
        sizes.add(std::to_wstring(size), size);
    for (const std::uint64_t size : all) {
        EXPECT_EQ(0u, sizes.take(L"a link to a directory"));
        if (size != 128) { // that entry is not removed
            EXPECT_EQ(size, sizes.take(std::to_wstring(size)));
        }
    }
    EXPECT_EQ(0u, sizes.take(L"5"));
}

TEST_F(Cleaning, SparesTheSystemsDirectoriesInAMountedVolume)
{
    Node* const root = source.add(source.volume, L"mounted");
    const std::wstring name = L"\\\\?\\Volume{1}\\";
    source.volumes[name] = root;
    source.mounts = {L"X:\\mount\\"};
    source.link(source.volume, L"mount", root, name)->isTrusted = true;
    for (const wchar_t* kept : {L"System Volume Information", L"$recycle.bin", L"tree"})
        source.add(source.add(root, kept), L"in");
    EXPECT_EQ(0, cleanDirectory(L"X:\\mount"));
    EXPECT_EQ(L"$recycle.bin (in () ) System Volume Information (in () ) ", ScriptedSource::content(root));
}
