// The event log's records, as the viewer reads them.

#include "proof/facts/needs.h"
#include "test/program.h"

#include <winevt.h>

#include <vector>

namespace {

struct EventTraits
{
    using Type = EVT_HANDLE;
    static Type empty() noexcept { return nullptr; }
    static void close(Type handle) noexcept { EvtClose(handle); }
};
using UniqueEvent = Unique<EventTraits>;

constexpr wchar_t mark[] = L"mendkit_proof_mark"; // in the text of each record that these facts make

/// A record of a log.
struct Record
{
    std::wstring xml;     // as the system renders it
    std::wstring message; // as the viewer shows it; empty when the message file has none
};

std::wstring messageOf(EVT_HANDLE event)
{
    const UniqueEvent source(EvtOpenPublisherMetadata(nullptr, L"mendkit", nullptr, 0, 0));
    std::wstring text(20'000, L'\0');
    DWORD used = 0;
    // "EvtFormatMessage function": the size is in characters
    const BOOL isFound = EvtFormatMessage(source.get(), event, 0, 0, nullptr, EvtFormatMessageEvent,
        static_cast<DWORD>(text.size()), text.data(), &used);
    return isFound ? text.c_str() : L"";
}

/// The records of a log that hold the mark and a word.
std::vector<Record> recordsOf(const wchar_t* log, const std::wstring& word)
{
    const UniqueEvent query(EvtQuery(nullptr, log, L"*", EvtQueryChannelPath | EvtQueryReverseDirection));
    std::vector<Record> records;
    EVT_HANDLE found = nullptr;
    DWORD count = 0;
    for (int left = 200; left > 0 && query && EvtNext(query.get(), 1, &found, 1000, 0, &count); --left) {
        const UniqueEvent event(found);
        std::vector<wchar_t> xml(100'000);
        DWORD size = 0, properties = 0; // "EvtRender function": sizes are in bytes
        EvtRender(nullptr, found, EvtRenderEventXml, static_cast<DWORD>(xml.size() * sizeof(wchar_t)), xml.data(),
            &size, &properties);
        const std::wstring text = xml.data();
        if (text.find(mark) != std::wstring::npos && text.find(word) != std::wstring::npos)
            records.push_back({text, messageOf(found)});
    }
    return records;
}

class EventLog : public ProgramRun
{
protected:
    EventLog()
    {
        setConfig(L"SendFeedback", L"false");
        // A message file whose every message is "%1", in the place of the panel's.
        wchar_t windows[MAX_PATH];
        GetWindowsDirectoryW(windows, MAX_PATH);
        CopyFileW((windows + std::wstring(L"\\Microsoft.NET\\Framework64\\v4.0.30319\\EventLogMessages.dll")).c_str(),
            (root.path() + L"\\admin\\bin64\\eventmsg.dll").c_str(), TRUE);
    }

    /// Makes an Error record with a word that no other record has.
    static ChildResult report(const std::wstring& word)
    {
        const ChildResult result = run(L"\"--" + std::wstring(mark) + L" " + word + L"\"");
        EXPECT_EQ(1u, result.exitCode) << "the event log changes the command's result";
        return result;
    }

    /// Lets the event log service notice the new log; a source of the test's own shows whether it has.
    /// @return whether it stores records now
    static bool becomesUsable()
    {
        registry::create(HKEY_LOCAL_MACHINE,
            L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Kelvo\\mendkit_proof_control", KEY_WRITE);
        for (int attempt = 0; attempt < 60; ++attempt) {
            const std::wstring text = mark + std::wstring(L" control ") + std::to_wstring(GetTickCount64());
            const wchar_t* strings[] = {text.c_str()};
            const HANDLE source = RegisterEventSourceW(nullptr, L"mendkit_proof_control");
            ReportEventW(source, EVENTLOG_SUCCESS, 0, 1, nullptr, 1, 0, strings, nullptr);
            DeregisterEventSource(source);
            Sleep(1000);
            if (!recordsOf(L"Kelvo", text).empty())
                return true;
        }
        return false;
    }

    static std::wstring newWord(const wchar_t* name) { return name + std::to_wstring(GetTickCount64()); }
};

#define NEEDS_A_LOG()                                                                                                \
    report(L"registers");                                                                                            \
    if (!becomesUsable())                                                                                            \
    GTEST_SKIP() << "the event log service has stored no record of a new log for a minute, not even the test's own"

} // namespace

TEST_F(EventLog, Records)
{
    SKIP_UNDER_WINE("no record is stored");
    NEEDS_A_LOG();
    const std::wstring word = newWord(L"error");
    report(word);
    Sleep(1000);
    const std::vector<Record> errors = recordsOf(L"Kelvo", word);
    ASSERT_EQ(1u, errors.size()) << "the record of a failure is not stored, or more than once";
    const std::wstring& xml = errors[0].xml;
    // Level of the classic type: 2 error
    for (const wchar_t* part : {L"<Provider Name='mendkit'", L">1</EventID>", L"<Level>2</Level>",
             L"<Channel>Kelvo</Channel>", L"<Data>command --mendkit_proof_mark ", L"mendkit.exe</Data>"})
        EXPECT_NE(std::wstring::npos, xml.find(part))
            << "the viewer does not find " << testing::PrintToString(part) << ": " << testing::PrintToString(xml);
    EXPECT_TRUE(errors[0].message.empty() || errors[0].message.find(word) != std::wstring::npos)
        << "the viewer shows another text: " << testing::PrintToString(errors[0].message);

    const std::wstring longWord = newWord(L"long");
    report(longWord + std::wstring(31'900, L'x'));
    Sleep(1000);
    EXPECT_EQ(1u, recordsOf(L"Kelvo", longWord).size()) << "a record of 30,000 characters is refused";

    setConfig(L"Debug", 1);
    const std::wstring name = std::wstring(mark) + newWord(L"answer");
    EXPECT_EQ(0u, run(L"--get-service-status --name=" + name).exitCode);
    Sleep(1000);
    const std::vector<Record> all = recordsOf(L"Kelvo", name);
    EXPECT_EQ(3u, all.size()) << "start, answer and end of a command";
    for (const Record& record : all)
        EXPECT_TRUE(record.xml.find(L"<Level>4</Level>") != std::wstring::npos ||
                    record.xml.find(L"<Level>0</Level>") != std::wstring::npos)
            << "neither information nor success: " << testing::PrintToString(record.xml);
}

TEST_F(EventLog, FirstAfterRegistration)
{
    SKIP_UNDER_WINE("no record is stored");
    const std::wstring word = newWord(L"first");
    report(word); // registers log and source
    const auto count = [&](const wchar_t* log) { return recordsOf(log, word).size(); };
    for (int second = 0; second < 10 && count(L"Kelvo") + count(L"Application") == 0; ++second)
        Sleep(1000);
    std::printf("Figure: the first record after the registration %s\n", count(L"Kelvo") != 0 ? "is in the log Kelvo"
                                                                        : count(L"Application") != 0
                                                                            ? "is in the log Application"
                                                                            : "is lost");
    if (!becomesUsable())
        GTEST_SKIP() << "the event log service has not noticed the new log for a minute";
    const std::wstring later = newWord(L"later");
    report(later);
    Sleep(1000);
    EXPECT_EQ(1u, recordsOf(L"Kelvo", later).size()) << "later records of the source are lost too";
}

TEST_F(EventLog, Percent)
{
    SKIP_UNDER_WINE("no record is stored");
    NEEDS_A_LOG();
    const std::wstring word = newWord(L"percent");
    report(word + L" %1 %2 100%");
    Sleep(1000);
    const std::vector<Record> records = recordsOf(L"Kelvo", word);
    ASSERT_EQ(1u, records.size()) << "a record with \"%1\" is lost";
    EXPECT_NE(std::wstring::npos, records[0].xml.find(word + L" %1 %2 100%"))
        << "the stored text is changed: " << testing::PrintToString(records[0].xml);
    EXPECT_NE(std::wstring::npos, root.log().find(word + L" %1 %2 100%")) << "the debug log has another text";
    const bool isSame = records[0].message.find(word + L" %1 %2 100%") != std::wstring::npos;
    std::printf("Figure: the viewer shows %s\n", records[0].message.empty() ? "no text, for want of a message file"
                                                 : isSame                   ? "\"%1\" as it is"
                                                                            : "another text for \"%1\"");
}
