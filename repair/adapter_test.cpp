#include "repair/adapter.h"

#include "runtime/text/code_page.h"
#include "test/failure.h"
#include "test/fake_system_helper.h"
#include "test/json_document.h"
#include "test/recording_handler.h"
#include "test/stress.h"
#include "test/text_pattern.h"

#include <functional>

namespace {

using Calls = std::vector<std::wstring>;

struct Adapter : testing::Test
{
    const std::shared_ptr<FakeSystemHelper> helper = std::make_shared<FakeSystemHelper>();
    KelvoRepair::Adapter adapter{helper};
};

/// The answer without line ends and tabs.
std::wstring flat(std::wstring text)
{
    std::erase_if(text, [](wchar_t c) { return c == L'\n' || c == L'\t'; });
    return text;
}

} // namespace

TEST_F(Adapter, QueriesOnlyWhatTheServiceStatusNeeds)
{
    const struct
    {
        bool exists;
        std::uint32_t startType, state;
        std::wstring shown; // empty: the member is absent
        std::size_t calls;
    } rows[] = {{false, 2, 4, L"invalid", 1}, {true, 4, 4, L"disabled", 2}, {true, 2, 1, L"stopped", 3},
        {true, 3, 2, L"starting", 3}, {true, 0, 3, L"stopping", 3}, {true, 1, 4, L"running", 3},
        {true, 2, 5, L"continuing", 3}, {true, 2, 6, L"pausing", 3}, {true, 2, 7, L"paused", 3}, {true, 2, 0, L"", 3},
        {true, 2, 8, L"", 3}};
    for (const auto& [exists, startType, state, shown, calls] : rows) {
        helper->exists = exists;
        helper->startType = startType;
        helper->state = state;
        helper->calls.clear();
        const std::wstring status = shown.empty() ? L"" : L",\n\t\"status\" : \"" + shown + L"\"";
        EXPECT_EQ(L"{\n\t\"name\" : \"Ж\"" + status + L"\n}\n", adapter.getServiceStatus(L"Ж"));
        EXPECT_EQ(calls, helper->calls.size());
    }
}

TEST_F(Adapter, ReportsTheFiguresOfThreeUtilityRuns)
{
    const std::wstring zeros = L"\"last15min\" : 0,\"last1min\" : 0,\"last5min\" : 0";
    const struct
    {
        std::wstring load, averages, memory, figures;
    } rows[] = {{L"0.57 0.40 0.33 1/2 3", L"\"last15min\" : 33,\"last1min\" : 57,\"last5min\" : 40",
                    L"Total: 8388608\r\nFree: 7\n", L"\"free\" : 7,\"total\" : 8388608"},
        {L"-0.5", L"\"last15min\" : 0,\"last1min\" : 4294967246,\"last5min\" : 0",
            L"no colon\rCached:abc\n\nFree Mem : 12", L"\"cached\" : 0,\"free mem \" : 12"},
        {L"nan nan nan", zeros, L"A: 99999999999999999999\nÄ: 1\nä:3x\n", L"\"a\" : 18446744073709551615,\"ä\" : 3"},
        {L"1e30 -1e30 inf", zeros, L"\"\\/\t\x1: 5", L"\"\\\"\\\\/\\t\\u0001\" : 5"},
        {L"x", zeros, L":", L"\"\" : 0"},
        {L"0." + std::wstring(3'000'000, L'3') + L" 0.5 2",
            L"\"last15min\" : 200,\"last1min\" : 33,\"last5min\" : 50", L"a:" + std::wstring(3'000'000, L' ') + L"7",
            L"\"a\" : 7"}};
    for (const auto& [load, averages, memory, figures] : rows) {
        helper->outputs = {{L"loadavg", load}, {L"memory", memory}};
        EXPECT_EQ(L"{\"cpu\" : {" + averages + L",\"unit\" : \"%\"},\"memory\" : {" + figures + L"},\"swap\" : {}}",
            flat(adapter.getSystemResources()));
    }
    EXPECT_EQ(L"{\"message\" : \"Server is going to restart\"}", flat(adapter.reboot(7)));
    helper->calls.resize(3);
    EXPECT_EQ((Calls{L"sysinfo loadavg", L"sysinfo memory", L"sysinfo swap"}), helper->calls);
}

TEST_F(Adapter, AnswersWithADocumentForAnyUtilityOutput)
{
    std::mt19937 random = seeded();
    const int count = rounds(2'000, 200'000);
    for (int round = 0; round < count; ++round) {
        for (const wchar_t* what : {L"loadavg", L"memory", L"swap"}) {
            std::wstring& output = helper->outputs[what] = toWide(randomBytes(random, 40), 28591);
            for (wchar_t& c : output)
                c = random() % 3    ? L" \n:.-0123456789eE"[random() % 17]
                    : random() % 50 ? c
                                    : static_cast<wchar_t>(random());
        }
        const std::wstring answer = adapter.getSystemResources();
        ASSERT_EQ(3u, jsonDocument(toNarrow(answer, utf8CodePage)).size()) << testing::PrintToString(answer);
    }
    figure(count, "answers made of random output of utilities");
}

TEST_F(Adapter, ReportsEachVolumeOnceInOrder)
{
    helper->volumes = {{L"C:\\", {10, 3}}, {L"D:\\", {5, 6}}};
    const std::wstring c = L"{\"free\" : 3,\"total\" : 10,\"used\" : 7,\"volume\" : \"C:\\\\\"}";
    EXPECT_EQ(L"[" + c + L"]", flat(adapter.getDiskSpace()));
    helper->root = L"d:\\Panel";
    EXPECT_EQ(L"[" + c + L",{\"free\" : 6,\"total\" : 5,\"used\" : 18446744073709551615,\"volume\" : \"D:\\\\\"}]",
        flat(adapter.getDiskSpace()));
    EXPECT_EQ(
        (Calls{L"root", L"dumps", L"space C:\\", L"root", L"dumps", L"space C:\\", L"space D:\\"}), helper->calls);
    helper->dumps = L"relative";
    EXPECT_THROW(adapter.getDiskSpace(), vexception);
}

TEST_F(Adapter, CleansEachDirectoryOfItsTableOnceInOrder)
{
    const auto cleaned = [&](const wchar_t* root, const wchar_t* dumps, const wchar_t* windows) {
        helper->root = root, helper->dumps = dumps, helper->windows = windows;
        helper->calls.clear();
        adapter.freeDiskSpace();
        std::wstring all;
        for (const std::wstring& call : helper->calls) {
            if (call.starts_with(L"list "))
                all += call.substr(5) + L"|";
        }
        return all;
    };
    const std::wstring panel =
        L"2 C:\\P\\MGX\\tmp|2 C:\\P\\PrivateTemp|1 C:\\P\\tmp|2 C:\\P\\tmp\\aps|2 C:\\P\\tmp\\horde|";
    const std::wstring temp = L"2 C:\\Windows\\Temp|";
    EXPECT_EQ(L"2 C:\\dumps|" + panel + temp, cleaned(L"C:\\P", L"C:\\dumps\\", L"C:\\Windows"));
    EXPECT_EQ(panel, cleaned(L"C:\\P", L"C:\\P\\TMP\\", L"D:\\Windows")) << "the first listing kind counts";
    EXPECT_EQ(panel + L"2 C:\\P\\tmp\\horde\\x|2 c:\\Windows\\Temp|",
        cleaned(L"C:\\P", L"C:\\P\\tmp\\horde\\x", L"c:\\Windows"));
    EXPECT_EQ(panel + L"2 D:\\dumps|2 D:\\Windows\\Temp|", cleaned(L"C:\\P", L"D:\\dumps", L"D:\\Windows"));
    EXPECT_EQ(L"2 \\\\s\\d\\x|" + panel, cleaned(L"C:\\P", L"\\\\s\\d\\x", L"D:\\Windows"));
    for (const wchar_t* refused :
        {L"", L"D:x", L"D:\\", L"\\\\s\\d", L"c:\\p", L"E:\\a", L"E:\\A\\Windows", L"E:\\a\\windows\\system32\\"}) {
        const RecordingHandler log;
        const bool isOnSystemVolume = refused[0] == L'E';
        EXPECT_EQ(panel + (isOnSystemVolume ? L"2 E:\\a\\Windows\\Temp|" : L""),
            cleaned(L"C:\\P", refused, L"E:\\a\\Windows"));
        EXPECT_EQ(1u, log.records.size()) << testing::PrintToString(std::wstring(refused));
    }
}

TEST_F(Adapter, ContinuesAfterAFailedRemovalButNotAfterAFailedListing)
{
    const DWORD directory = FILE_ATTRIBUTE_DIRECTORY;
    const struct
    {
        const wchar_t* name;
        DWORD attributes;
        bool isLink;
    } rows[] = {{L".", directory, false}, {L"..", directory, false}, {L"pwd=d", directory, false},
        {L"link", directory, true}, {L"dot.", 0, false}};
    for (const auto& [name, attributes, isLink] : rows)
        helper->entries[L"C:\\dumps"].push_back({name, attributes, isLink, isLink, 0, {}, {}, {}});
    helper->failing = L"rd C:\\dumps\\pwd=d";
    const RecordingHandler log;
    adapter.freeDiskSpace();
    EXPECT_EQ((Calls{L"rd C:\\dumps\\pwd=d", L"del C:\\dumps\\link", L"del C:\\dumps\\dot."}),
        Calls(helper->calls.begin() + 4, helper->calls.begin() + 7));
    ASSERT_EQ(1u, log.records.size());
    EXPECT_EQ(LogLevel::Warning, log.records[0].level);
    EXPECT_TRUE(log.records[0].message.ends_with(L") Remove 'C:\\dumps\\pwd=*'")) << log.records[0].message;

    helper->calls.clear();
    helper->failing = L"list 2 C:\\dumps";
    EXPECT_THROW(adapter.freeDiskSpace(), VAccessDeniedException);
    EXPECT_EQ(4u, helper->calls.size()) << "calls after the failure";
}

TEST_F(Adapter, DescribesEveryOperationInTheTrail)
{
    const struct
    {
        const wchar_t* failing;
        std::wstring trail; // of the adapter, each name without "KelvoRepair::Adapter::"
        std::function<void()> call;
    } rows[] = {
        {L"exist x", L"getServiceStatus line #) getServiceStatus(x)", [&] { adapter.getServiceStatus(L"x"); }},
        {L"mysqlmng_adm --repair", L"repairKelvoSqlServer line #) repairKelvoSqlServer()",
            [&] { adapter.repairKelvoSqlServer(); }},
        {L"sysinfo swap",
            L"getSystemResources line #) getSystemResources(swap)\n   at (KelvoRepair::Adapter::"
            L"getSystemResources line #) getSystemResources()",
            [&] { adapter.getSystemResources(); }},
        {L"websrvmng --restart-vhosts-app-pools 64", L"freeSystemResources line #) freeSystemResources()",
            [&] { adapter.freeSystemResources(); }},
        {L"root", L"getDiskSpace line #) getDiskSpace()", [&] { adapter.getDiskSpace(); }},
        {L"list 2 C:\\dumps",
            L"cleanDirectory line #) cleanDirectory(C:\\dumps, 2)\n   at (KelvoRepair::Adapter::"
            L"freeDiskSpace line #) freeDiskSpace()",
            [&] { adapter.freeDiskSpace(); }},
        {L"shutdown --reboot --timeout=7", L"reboot line #) reboot(7)", [&] { adapter.reboot(7); }}};
    for (const auto& [failing, trail, call] : rows) {
        helper->failing = failing;
        EXPECT_TRUE(fits<wchar_t>(failureOf(call), L"~ at " + std::wstring(failing) +
                                                       L"\n   at (FakeSystemHelper line #)"
                                                       L"\n   at (KelvoRepair::Adapter::" +
                                                       trail))
            << testing::PrintToString(failureOf(call));
    }
}
