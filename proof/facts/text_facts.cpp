// Texts of the C run time and of the machine's code page.

#include "proof/facts/needs.h"
#include "runtime/failure/argument_exception.h"
#include "runtime/text/code_page.h"
#include "runtime/text/format.h"
#include "test/failure.h"
#include "test/program.h"
#include "test/scripted_pipe.h"

namespace {

class Texts : public ProgramRun
{
};

} // namespace

TEST_F(Texts, InvalidFormat)
{
    SKIP_UNDER_WINE("the C run time takes every format but a null one");
    int count = 0;
    // Microsoft's page on the format syntax of printf and wprintf says that "%n" is disabled by default. It is about
    // Microsoft's compilers; msvcrt.dll has no page.
    EXPECT_EQ(L"_scwprintf() failed: invalid arguments", messageIn(failureOf([&] {
        formatString(static_cast<const wchar_t*>(L"a%nb"), &count);
    }))) << "a format that the C run time rejects is not reported";
}

TEST_F(Texts, AnsiCodePage)
{
    vserializer::writer body;
    body.text(root.path());
    const ScriptedPipe service({{serviceReply(body.message())}});
    setConfig(L"SendFeedback", L"false");
    setConfig(L"zrmpipe", service.name());
    const std::wstring utility = root.path() + L"\\admin\\bin\\sysinfo";
    CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (utility + L".exe").c_str(), TRUE);
    std::ofstream((utility + L".script").c_str()) << "hex 80\nexit 3\n";
    wchar_t letter[2] = L"";
    const int length = MultiByteToWideChar(GetACP(), 0, "\x80", 1, letter, 2);
    const std::string expected = "code 3: " + toNarrow({letter, static_cast<std::size_t>(length)}, utf8CodePage);
    const std::string output = run(L"--get-system-resources").output;
    EXPECT_NE(std::string::npos, output.find(expected + "\r\n"))
        << "a utility's output is not read in the machine's code page " << GetACP() << ": " << output;
}
