// Logs and reports beside other accounts and other parsers.

#include "logging/report/xml_document.h"
#include "proof/facts/needs.h"
#include "proof/facts/other_account.h"
#include "proof/facts/suites.h"
#include "runtime/identity.h"
#include "runtime/text/code_page.h"

#include <sddl.h>

namespace {

constexpr const wchar_t* mutexes[] = {L"kelvolog_debug_mutex", L"Global\\{F485C63C-FF60-4c1a-A4BF-A3958C9F3D32}"};

std::size_t countOf(const std::wstring& part, const std::wstring& text)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::wstring::npos; ++at)
        ++count;
    return count;
}

class Report : public ProgramRun
{
};

} // namespace

TEST_F(Log, MutexOfAStranger)
{
    NEEDS_ACCOUNT();
    setConfig(L"Debug", 1);
    std::size_t runs = 0;
    for (const wchar_t* rights : {L"", L"D:(A;;0x1f0001;;;WD)"}) { // cannot be opened; can, but is kept
        ++runs;
        SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
        ConvertStringSecurityDescriptorToSecurityDescriptorW(
            rights, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
        const UniqueLocalMemory memory(attributes.lpSecurityDescriptor);
        UniqueHandle held[2];
        {
            const AsOtherAccount stranger;
            for (const std::size_t at : {0, 1})
                held[at].reset(CreateMutexW(*rights ? &attributes : nullptr, TRUE, mutexes[at]));
        }
        if (!held[0] || !held[1])
            GTEST_SKIP() << "another account cannot make these mutexes in this session";
        EXPECT_EQ(0u, run(L"--get-service-status --name=none").exitCode) << "a stranger's mutex fails the command";
        for (const UniqueHandle& mutex : held)
            ReleaseMutex(mutex.get());
        for (const wchar_t* name : mutexes)
            EXPECT_EQ(runs, countOf(L"Another account keeps the mutex '" + std::wstring(name), root.log()))
                << "not one Warning a run: " << testing::PrintToString(root.log());
        EXPECT_EQ(runs, countOf(L"Info: End command", root.log())) << "records are lost";
    }
}

TEST_F(Report, Layout)
{
    const std::wstring utility = root.path() + L"\\admin\\bin\\send-error-report", var = root.path() + L"\\var";
    setConfig(L"PRODUCT_DATA_D", root.path());
    CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (utility + L".exe").c_str(), TRUE);
    CreateDirectoryW(var.c_str(), nullptr);
    EXPECT_EQ(1u, run(L"--bogus\x416").exitCode);
    std::string noted;
    for (int patience = 1000; noted.find("</error>") == std::string::npos && patience > 0; --patience) {
        noted = readFile(var + L"\\devpanel.log");
        Sleep(10);
    }
    const std::size_t begin = noted.find('<'), end = noted.rfind('>');
    ASSERT_NE(std::string::npos, begin) << "no report was sent: " << noted;
    const std::wstring report = toWide(noted.substr(begin, end - begin + 1), utf8CodePage);
    SendErrorReport::Document document;
    VARIANT_BOOL isParsed = VARIANT_FALSE;
    document.get()->loadXML(UniqueBstr(SysAllocString(report.c_str())).get(), &isParsed);
    ASSERT_TRUE(isParsed) << "the report is no XML: " << noted;
    for (const wchar_t* field : {L"source", L"severity", L"datetime", L"summary", L"component", L"message", L"hits",
             L"additional_info/command_line", L"additional_info/processId", L"additional_info/threadId"}) {
        UniqueCom<IXMLDOMNode> node;
        UniqueBstr text;
        const UniqueBstr path(SysAllocString((L"/error/" + std::wstring(field)).c_str()));
        document.get()->selectSingleNode(path.get(), node.receive());
        ASSERT_TRUE(node) << "the report lacks " << testing::PrintToString(field) << ": " << noted;
        node.get()->get_text(text.receive());
        EXPECT_LT(0u, SysStringLen(text.get())) << testing::PrintToString(field) << " is empty";
        EXPECT_EQ(std::wstring::npos, std::wstring(text.get()).find(L"\n\t")) << "the layout got into the text";
    }
    EXPECT_NE(std::wstring::npos, report.find(L"command --bogus\x416 not supported")) << noted;
}
