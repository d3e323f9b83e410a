#include "logging/error_report_handler.h"

#include "logging/error_report_document.h"
#include "runtime/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace {

using Fields = std::vector<std::pair<std::wstring, std::wstring>>;

/// The elements below the node in the document's order with the texts of those that have no others below.
void collect(IXMLDOMNode* node, Fields& fields)
{
    UniqueCom<IXMLDOMNode> child, next;
    for (node->get_firstChild(child.receive()); child; child = std::move(next)) {
        DOMNodeType type = NODE_INVALID;
        child.get()->get_nodeType(&type);
        if (type == NODE_ELEMENT) {
            UniqueBstr name, text;
            child.get()->get_nodeName(name.receive());
            child.get()->get_text(text.receive());
            fields.emplace_back(name.get(), text ? text.get() : L"");
            const std::size_t at = fields.size();
            collect(child.get(), fields);
            if (fields.size() > at)
                fields[at - 1].second.clear();
        }
        child.get()->get_nextSibling(next.receive());
    }
}

/// What a parser makes of a report; empty when it is not well-formed. It alone says whether CR is part of a line's
/// end.
Fields parse(const std::string& report)
{
    SendErrorReport::Document document;
    document.get()->put_preserveWhiteSpace(VARIANT_TRUE);
    const std::wstring wide = toWide(report, utf8CodePage);
    const UniqueBstr xml(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    Fields fields;
    if (document.get()->loadXML(xml.get(), &loaded) == S_OK && loaded)
        collect(document.get(), fields);
    for (auto& field : fields)
        std::erase(field.second, L'\r');
    return fields;
}

std::wstring fieldOf(const Fields& fields, const std::wstring& name)
{
    const auto at =
        std::find_if(fields.begin(), fields.end(), [&](const auto& field) { return field.first == name; });
    return at == fields.end() ? L"none" : at->second;
}

constexpr const wchar_t* broken = L"broken"; // whatever is asked for this fails

struct ScriptedSystemHelper : SendErrorReport::ISystemHelper
{
    struct Process : SendErrorReport::IProcessHelper
    {
        explicit Process(ScriptedSystemHelper& owner) : owner_(owner) {}
        void start() override { owner_.value(L"start"); }
        void writeInput(const std::string& data) override
        {
            owner_.value(L"write");
            owner_.reports.push_back(data);
        }
        ScriptedSystemHelper& owner_;
    };

    const std::wstring& value(const std::wstring& name)
    {
        if (values[name] == broken)
            throw vexception(L"broken", {"ScriptedSystemHelper"});
        return values[name];
    }
    bool isFeedbackEnabled(LogLevel, const std::wstring&) override { return value(L"feedback").empty(); }
    std::wstring getProductRoot() override { return value(L"root"); }
    std::wstring getProductData() override { return value(L"data"); }
    std::wstring getUtcTimestamp() override { return L"20261116T050212"; }
    std::wstring getModuleFileName() override { return value(L"module"); }
    std::wstring getCommandLine() override { return value(L"line"); }
    std::uint32_t getProcessId() override { return 12; }
    std::uint32_t getThreadId() override { return 34; }
    std::shared_ptr<SendErrorReport::IProcessHelper> createProcess(const std::wstring& commandLine) override
    {
        value(L"create");
        lastCommand = commandLine;
        return std::make_shared<Process>(*this);
    }
    bool fileExists(const std::wstring& path) override
    {
        return path == L"D:\\data\\var\\update_ticket" && hasTicket;
    }
    std::string readFile(const std::wstring&) override
    {
        value(L"read");
        return ticket;
    }
    VDateTime getLocalTime() override { return VDateTime(now); }

    std::map<std::wstring, std::wstring> values{{L"root", L"C:\\a b"}, {L"data", L"D:\\data"},
        {L"module", L"C:\\x\\mendkit.exe"}, {L"line", L"mendkit.exe --name=x --db-password=secret"}};
    std::string ticket;
    bool hasTicket = false;
    SYSTEMTIME now{2026, 11, 0, 16, 0, 0, 0, 0};
    std::vector<std::string> reports;
    std::wstring lastCommand;
};

class ErrorReport : public testing::Test
{
protected:
    /// The hits of the report that a record leads to; "" when there is none.
    std::wstring hitsOf(const std::wstring& message, LogLevel level = LogLevel::Error)
    {
        helper->reports.clear();
        handler.log(level, message);
        EXPECT_LE(helper->reports.size(), 1u);
        return helper->reports.empty() ? L"" : fieldOf(parse(helper->reports[0]), L"hits");
    }

    const std::shared_ptr<ScriptedSystemHelper> helper = std::make_shared<ScriptedSystemHelper>();
    SendErrorReport::LogHandler handler{helper};
};

} // namespace

TEST_F(ErrorReport, IsSentForSevereRecordsThatHaveAText)
{
    for (const LogLevel level : {LogLevel::Info, LogLevel::Warning, LogLevel::Result})
        EXPECT_EQ(L"", hitsOf(L"text", level));
    EXPECT_EQ(L"1", hitsOf(L"text", LogLevel::Error));
    EXPECT_EQ(L"\"C:\\a b\\admin\\bin\\send-error-report.exe\" backend", helper->lastCommand);
    EXPECT_EQ(L"1", hitsOf(L"text 2", LogLevel::Unexpected));
    EXPECT_EQ(L"1", hitsOf(L"text 3", LogLevel::Crash));
    EXPECT_EQ(L"", hitsOf(L""));
    helper->values[L"feedback"] = L"off";
    EXPECT_EQ(L"", hitsOf(L"text 4"));
    helper->values[L"feedback"] = L"";
    EXPECT_EQ(L"1", hitsOf(L"text 4")) << "not counted while it was off";
}

TEST_F(ErrorReport, ComesOnceADayWithTheCountSince)
{
    for (const auto& [day, hour, minute, hits] : std::initializer_list<std::tuple<WORD, WORD, WORD, const wchar_t*>>{
             {16, 12, 0, L"1"}, {16, 12, 0, L""}, {17, 11, 59, L""}, {17, 12, 0, L"4"}, {18, 11, 59, L""},
             {10, 0, 0, L""}, {77, 0, 0, L""}, {18, 12, 0, L"5"}, {30, 0, 0, L"2"}}) {
        helper->now = {2026, 11, 0, day, hour, minute, 0, 0};
        EXPECT_EQ(hits, hitsOf(L"text")) << day;
    }
}

TEST_F(ErrorReport, ForgetsTheTextReportedLongestAgo)
{
    for (WORD text = 0; text <= 100; ++text) {
        if (text == 100) {
            EXPECT_EQ(L"", hitsOf(L"text 41")) << "a hundred are known";
        }
        helper->now.wMilliseconds = static_cast<WORD>(text == 41 ? 1 : 500 - text);
        helper->now.wDayOfWeek = static_cast<WORD>(text % 7);
        EXPECT_EQ(L"1", hitsOf(L"text " + std::to_wstring(text)));
    }
    EXPECT_EQ(L"", hitsOf(L"text 0"));
    EXPECT_EQ(L"", hitsOf(L"text 100"));
    EXPECT_EQ(L"1", hitsOf(L"text 41"));
}

TEST_F(ErrorReport, FailsInSilence)
{
    for (const wchar_t* what : {L"feedback", L"root", L"create", L"line", L"start", L"write"}) {
        const std::wstring before = std::exchange(helper->values[what], broken);
        EXPECT_EQ(L"", hitsOf(what)) << what;
        helper->values[what] = before;
    }
    EXPECT_EQ(L"1", hitsOf(L"after it all"));
}

TEST_F(ErrorReport, HoldsTheFieldsInTheirOrder)
{
    const std::wstring message = L"\nfirst <&>\x416\r\nsecond\n   at \xd83d\xde00";
    Fields expected{{L"error", L""}, {L"source", L"backend"}, {L"severity", L"error"},
        {L"datetime", L"20261116T050212"}, {L"summary", L"first <&>\x416"}, {L"component", L"mendkit"},
        {L"message", L"\nfirst <&>\x416\nsecond\n   at \xd83d\xde00"}, {L"hits", L"4294967295"},
        {L"additional_info", L""}, {L"command_line", L"mendkit.exe --name=x --db-password=*"}, {L"processId", L"12"},
        {L"threadId", L"34"}};
    EXPECT_EQ(expected, parse(handler.buildReport(message, 0xffffffff)));
    helper->hasTicket = true;
    helper->ticket = " \t\xd0\x96 1\x01\xff\r\n";
    expected.emplace_back(L"update_ticket", L"\x416 1\xfffd\xfffd");
    EXPECT_EQ(expected, parse(handler.buildReport(message, 0xffffffff)));
}

TEST_F(ErrorReport, IsBuiltWhateverItsTextsHold)
{
    for (const auto& [text, written] :
        std::initializer_list<std::pair<std::wstring, std::wstring>>{
            {{L'a', 0, 1, 0x1f, L'\t', 0x7f, 0xfffe, 0xffff, 0xfffd}, L"a\xfffd\xfffd\xfffd\t\x7f\xfffd\xfffd\xfffd"},
            {L"\xdc00\xd800 \xd83d\xde00\xd83d", L"\xfffd\xfffd \xd83d\xde00\xfffd"}, {L"]]>&#0;", L"]]>&#0;"},
            {std::wstring(1 << 20, L'x'), std::wstring(1 << 20, L'x')}})
        EXPECT_TRUE(written == fieldOf(parse(handler.buildReport(text, 1)), L"message")) << text.substr(0, 9).c_str();
    helper->hasTicket = true;
    EXPECT_EQ(L"", fieldOf(parse(handler.buildReport(L"x", 1)), L"update_ticket"));
    helper->values[L"read"] = helper->values[L"module"] = broken;
    const Fields fields = parse(handler.buildReport(L"x", 1));
    EXPECT_EQ(L"none", fieldOf(fields, L"update_ticket"));
    EXPECT_EQ(L"Unknown", fieldOf(fields, L"component"));
}

TEST_F(ErrorReport, LeavesComAsItWas)
{
    constexpr DWORD none = 99;
    for (const DWORD before : {none, DWORD{COINIT_APARTMENTTHREADED}, DWORD{COINIT_MULTITHREADED}}) {
        if (before != none) {
            EXPECT_EQ(S_OK, CoInitializeEx(nullptr, before));
        }
        EXPECT_NE("", handler.buildReport(L"x", 1));
        const HRESULT expected[] = {before == none ? S_OK : S_FALSE, before == none ? S_OK : RPC_E_CHANGED_MODE};
        const DWORD other = before == COINIT_MULTITHREADED ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED;
        EXPECT_EQ(expected[1], CoInitializeEx(nullptr, other));
        if (before == none) {
            CoUninitialize();
            continue;
        }
        EXPECT_EQ(expected[0], CoInitializeEx(nullptr, before));
        CoUninitialize();
        CoUninitialize();
    }
}
