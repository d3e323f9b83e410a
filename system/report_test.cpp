#include "logging/crash/crash_dump_info.h"
#include "logging/log_manager.h"
#include "logging/report/report_handler.h"
#include "logging/report/xml_document.h"
#include "runtime/text/code_page.h"
#include "system/report_helpers.h"
#include "test/replaced_import.h"
#include "test/sandbox.h"
#include "test/stress.h"
#include "test/text_pattern.h"

#include <comdef.h>

#include <algorithm>
#include <fstream>

namespace {

/// The program's helper with a scripted clock, command line and child process.
struct ScriptedSystemHelper : SendErrorReport::DefaultSystemHelper, SendErrorReport::IProcessHelper
{
    std::wstring getCommandLine() override { return L"mendkit.exe --name=x --db-password=secret"; }
    std::wstring getModuleFileName() override { return L"C:\\x\\mendkit.exe"; }
    std::shared_ptr<IProcessHelper> createProcess(const std::wstring&) override
    {
        return {std::shared_ptr<void>(), this}; // not owned
    }
    VDateTime getLocalTime() override { return VDateTime(now); }
    void start() override {}
    void writeInput(const std::string& data) override { sent += data; }

    SYSTEMTIME now{2026, 11, 0, 16, 0, 0, 0, 0};
    std::string sent;
};

void WINAPI tellTime(SYSTEMTIME* time)
{
    *time = {2026, 1, 5, 2, 3, 4, 5, 6};
}

class ErrorReport : public RegistrySandbox
{
protected:
    ErrorReport()
    {
        setConfig(L"PRODUCT_ROOT_D", root.path());
        setConfig(L"PRODUCT_DATA_D", root.path());
        CreateDirectoryW((root.path() + L"\\var").c_str(), nullptr);
    }

    /// The hits in the report for a record; "" when no report is sent.
    std::string hitsOf(const std::wstring& message, LogLevel level = LogLevel::Error)
    {
        helper->sent.clear();
        handler.log(level, message);
        const std::string& sent = helper->sent;
        const std::size_t begin = sent.find("<hits>") + 6, end = sent.find("</hits>");
        return end == std::string::npos ? "" : sent.substr(begin, end - begin);
    }

    void setTicket(const std::string& bytes) const
    {
        std::ofstream((root.path() + L"\\var\\update_ticket").c_str(), std::ios::binary) << bytes;
    }

    /// The report, checked by a parser, without line ends and tabs, which differ between parsers.
    std::string built(const std::wstring& message)
    {
        std::string report = handler.buildReport(message, 0xffffffff);
        SendErrorReport::Document document;
        VARIANT_BOOL parsed = VARIANT_FALSE;
        document.get()->loadXML(UniqueBstr(SysAllocString(toWide(report, utf8CodePage).c_str())).get(), &parsed);
        EXPECT_TRUE(parsed);
        const auto layout = [](char c) { return c == '\r' || c == '\n' || c == '\t'; };
        std::erase_if(report, layout);
        return report;
    }

    void SetUp() override
    {
        try {
            const SendErrorReport::Document document;
        } catch (const _com_error&) {
            if (kit::isWine())
                throw;
            GTEST_SKIP() << "COM finds no classes while the registry is replaced: Report.Layout";
        }
    }

    const ProductRoot root;
    const std::shared_ptr<ScriptedSystemHelper> helper = std::make_shared<ScriptedSystemHelper>();
    SendErrorReport::LogHandler handler{helper};
};

} // namespace

TEST_F(ErrorReport, FindsItsPlacesWhenTheRegistryHasSlashes)
{
    std::wstring slashes = root.path();
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    setConfig(L"PRODUCT_ROOT_D", slashes + L"/admin/../");
    EXPECT_EQ(root.path() + L"\\", helper->getProductRoot());
    setConfig(L"PRODUCT_ROOT_D", L"\\\\?\\" + slashes);
    LogManager::log(LogLevel::Error, L"x");
    EXPECT_NE(L"", root.log());
    const std::wstring dump = CrashDumpInfo().getFileName(),
                       directory = L"\\\\?\\" + root.path() + L"\\etc\\crashdumps\\";
    EXPECT_EQ(directory, dump.substr(0, directory.size()));
}

TEST_F(ErrorReport, IsSentForSevereRecordsUnlessSwitchedOff)
{
    const struct
    {
        LogLevel level;
        const wchar_t* feedback;
        const char* hits;
    } rows[] = {{LogLevel::Info, L"true", ""}, {LogLevel::Warning, L"", ""}, {LogLevel::Error, L"false", ""},
        {LogLevel::Error, L"False", "1"}, {LogLevel::Crash, L"0", ""}};
    for (const auto& [level, feedback, hits] : rows) {
        setConfig(L"SendFeedback", feedback);
        EXPECT_EQ(hits, hitsOf(L"text", level)) << "a severe one was sent before";
    }
    setConfig(L"SendFeedback", 1); // of the wrong type
    EXPECT_EQ("", hitsOf(L"crash", LogLevel::Crash));
}

TEST_F(ErrorReport, IsSentOnceADayWithTheNumberOfRepeats)
{
    const struct
    {
        WORD day, hour, minute;
        const char* hits;
    } rows[] = {{16, 12, 0, "1"}, {16, 12, 0, ""}, {17, 11, 59, ""}, {17, 12, 0, "4"}, {18, 11, 59, ""},
        {10, 0, 0, ""}, {77, 0, 0, ""}, {18, 12, 0, "5"}, {30, 0, 0, "2"}};
    for (const auto& [day, hour, minute, hits] : rows) {
        helper->now = {2026, 11, 0, day, hour, minute, 0, 0};
        EXPECT_EQ(hits, hitsOf(L"text")) << day;
    }
}

TEST_F(ErrorReport, CountsTheLast100Texts)
{
    for (WORD text = 0; text < 100; ++text) {
        helper->now.wMilliseconds = static_cast<WORD>(text + 1);
        hitsOf(std::to_wstring(text));
    }
    EXPECT_EQ("", hitsOf(L"0"));
    EXPECT_EQ("1", hitsOf(L"another one"));
    EXPECT_EQ("", hitsOf(L"1"));
    EXPECT_EQ("1", hitsOf(L"0")) << "the oldest was forgotten";
}

TEST_F(ErrorReport, TellsTheTimeInUtc)
{
    const ReplacedImport time("GetSystemTime", tellTime);
    EXPECT_EQ(L"20260102T030405", helper->getUtcTimestamp());
}

TEST_F(ErrorReport, IsWellFormedForAnyText)
{
    setTicket(" \t\xd0\x96 1\x01\xff\r\n");
    std::string report = built({L'\n', L'<', 0x416, L'&', L'\r', L'\n', 0, 0x1f, 0x7f, 0xd83d, 0xde00, 0xd83d, 0xd83d,
        0xde00, 0xde00, 0xfffe, 0xffff});
    const std::string bad = "\xef\xbf\xbd", face = "\xf0\x9f\x98\x80", first = "&lt;\xd0\x96&amp;";
    const std::string lineEnd = "&#13;";
    for (std::size_t at = 0; (at = report.find(lineEnd, at)) != std::string::npos;)
        report.erase(at, lineEnd.size());
    EXPECT_TRUE(fits(report,
        "<error><source>backend</source><severity>error</severity><datetime>@@@@@@@@T@@@@@@</datetime><summary>" +
            first + "</summary><component>mendkit</component><message>" + first + bad + bad + "\x7f" + face + bad +
            face + bad + bad + bad +
            "</message><hits>4294967295</hits><additional_info><command_line>mendkit.exe "
            "--name=x --db-password=*</command_line><processId>#</processId><threadId>#</threadId>"
            "<update_ticket>\xd0\x96 1" +
            bad + bad + "</update_ticket></additional_info></error>"))
        << report;

    setTicket(std::string(2'000'000, ' ') + "t");
    report = built(std::wstring(3'000'000, L'm') + L" end");
    const std::size_t ticket = report.find("<update_ticket>t</update_ticket>"),
                      end = report.find("mmm end</message>");
    EXPECT_NE(report.npos, ticket) << "read to its end";
    EXPECT_NE(report.npos, end) << "long texts are cut in the middle";
    EXPECT_LT(report.size(), 260'000u);

    std::mt19937 random = seeded();
    const int count = rounds(50, 5'000);
    for (int round = 0; round < count && !HasFailure(); ++round) {
        setTicket(randomBytes(random, 2000));
        built(toWide(randomBytes(random, 200), 28591) + static_cast<wchar_t>(random()));
    }
    figure(count, "error reports of random messages and update tickets, read by a parser of XML");
}
