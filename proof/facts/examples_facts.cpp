// The examples: callers of the program in the languages of panel services.

#include "proof/facts/needs.h"
#include "proof/facts/powershell.h"
#include "test/program.h"

#include <functional>

namespace {

using Words = std::vector<std::wstring>;

std::wstring joined(const Words& words)
{
    std::wstring text;
    for (const std::wstring& word : words)
        text += (text.empty() ? L"" : L" ") + quoteArgument(word);
    return text;
}

class Examples : public ProgramRun
{
protected:
    Examples() { setConfig(L"SendFeedback", L"false"); }

    /// Runs an example with the program, and with a stand-in that ends, waits and prints in unusual ways.
    /// @param example  runs the example with its arguments: seconds, a program, its arguments
    void check(const std::function<ChildResult(const Words&)>& example) const
    {
        const std::wstring own = builtProgram(L"app\\mendkit.exe"), odd = root.path() + L"\\admin\\bin\\odd";
        const std::wstring marks = L"--name=a \"b\" \\\"c\\\\ \x416\\";
        CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (odd + L".exe").c_str(), TRUE);
        const std::string refusal = run(L"--get-service-status " + quoteArgument(marks)).output;
        const struct
        {
            const char* script; // of the stand-in; null: the program
            Words arguments;
            unsigned exitCode;
            std::string told;
        } rows[] = {
            {nullptr, {L"--get-service-status", L"--name=none \x416"}, 0, "none \xd0\x96: invalid"},
            {nullptr, {L"--get-service-status", marks}, 1, refusal.substr(0, refusal.find('\r'))},
            {nullptr, {L"--get-service-status"}, 1, "code: none"},
            {nullptr, {L"--get-service-status"}, 1, "   at (Params::check line 72)"},
            {nullptr, {L"--get-disk-space"}, 1, "code: 2"}, // without the panel
            {"out [{\"volume\": \"C:\", \"total\": 3, \"free\": 7, \"used\": 18446744073709551612}]",
                {L"--get-disk-space"}, 0, "C: 7 of 3 bytes free, used: unknown"},
            {"out {\"memory\": {\"total\": 18446744073709551615, \"free\": 1}, \"swap\": {}}",
                {L"--get-system-resources"}, 0, "memory: 1 of 18446744073709551615 bytes free"},
            {"bytes 300000\nexit 1", {}, 1, std::string(300'000, 'x')},
            {"child 20000\nout {\"name\": \"x\"}", {}, 0, "x: unknown"},
            {"out a\nout    at (x line 1)\nout b (Error code 5)\nout    at (y line 2)\nexit 1", {}, 1,
                "failure: b (Error"},
            {"out Execute x failed with error code 3:\nout    at (x line 1)\nout b (Error code 5)\nexit 1", {}, 1,
                "code: none"},
            {"crash", {}, 3, "0xC0000005"},
            {"out {", {}, 3, "no answer: "},
            {"sleep 20000", {L"--get-x"}, 2, "it was ended"},
            {"sleep 5000", {L"--free-x"}, 2, "it runs on as process "},
        };
        for (const auto& [script, arguments, exitCode, told] : rows) {
            if (script)
                std::ofstream((odd + L".script").c_str()) << script;
            Words words = {exitCode == 2 ? L"3" : L"60", script ? odd + L".exe" : own};
            words.insert(words.end(), arguments.begin(), arguments.end());
            const ULONGLONG begun = GetTickCount64();
            const ChildResult result = example(words);
            EXPECT_EQ(exitCode, result.exitCode) << toNarrow(joined(words), utf8CodePage) << ": " << result.output;
            EXPECT_NE(std::string::npos, result.output.find(told))
                << toNarrow(joined(words), utf8CodePage) << " does not tell '" << told << "': " << result.output;
            EXPECT_GT(15'000u, GetTickCount64() - begun) << "the example waits for other processes";
        }
    }

    /// The path of an example.
    static std::wstring example(const wchar_t* name) { return builtProgram(std::wstring(L"examples\\") + name); }

    /// The path of a program of Windows; empty when there is none.
    static std::wstring windowsProgram(const wchar_t* path)
    {
        wchar_t name[MAX_PATH] = L"";
        ExpandEnvironmentStringsW(path, name, MAX_PATH);
        return path::isFile(name) ? name : L"";
    }
};

} // namespace

TEST_F(Examples, Cpp)
{
    if (kit::isWine() && !kit::isRunning())
        GTEST_SKIP() << "the test examples_cpp runs it";
    check([](const Words& words) { return runChild(example(L"call_mendkit.exe"), joined(words)); });
}

TEST_F(Examples, CSharp)
{
    const std::wstring compiler = windowsProgram(L"%SystemRoot%\\Microsoft.NET\\Framework64\\v4.0.30319\\csc.exe");
    if (compiler.empty())
        GTEST_SKIP() << "this machine has no compiler of the .NET Framework";
    const std::wstring program = root.path() + L"\\CallMendkit.exe";
    const ChildResult compiled =
        runChild(compiler, joined({L"/nologo", L"/warnaserror", L"/r:System.Runtime.Serialization.dll",
                               L"/out:" + program, example(L"CallMendkit.cs")}));
    ASSERT_EQ(0u, compiled.exitCode) << compiled.output;
    check([&](const Words& words) { return runChild(program, joined(words)); });
}

TEST_F(Examples, Python)
{
    const std::wstring launcher = windowsProgram(L"%SystemRoot%\\py.exe");
    if (launcher.empty())
        GTEST_SKIP() << "this machine has no Python";
    check([&](const Words& words) {
        return runChild(launcher, L"-3 " + joined({example(L"call_mendkit.py")}) + L" " + joined(words));
    });
}

TEST_F(Examples, PowerShell)
{
    NEEDS_POWERSHELL();
    check([&](const Words& words) {
        std::wstring lines = L"$lines = & " + powershellLiteral(example(L"Invoke-Mendkit.ps1")) + L" " + words[0] +
                             L" " + powershellLiteral(words[1]) + L" @(";
        for (std::size_t at = 2; at < words.size(); ++at)
            lines += (at > 2 ? L", " : L"") + powershellLiteral(words[at]);
        return runPowerShell(
            root.path(), lines + L")\r\n$lines | ForEach-Object { [Console]::Out.WriteLine($_) }\r\n" // never wrapped
                                 L"exit $LASTEXITCODE");
    });
}
