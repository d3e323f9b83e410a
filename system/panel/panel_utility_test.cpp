#include "system/panel/panel_utility.h"

#include "runtime/identity.h"
#include "system/default_system_helper.h"
#include "test/child_process.h"
#include "test/failure.h"
#include "test/sandbox.h"
#include "test/scripted_pipe.h"

#include <fstream>
#include <tuple>

namespace {

/// A panel with a scripted utility "util", and with "broken", which is not a program.
class Utility : public RegistrySandbox
{
protected:
    Utility() : service(answer(L"\\\\?\\" + root + L"/x/.././"))
    {
        CopyFileW(
            builtProgram(L"devpanel\\devutility.exe").c_str(), (root + L"\\admin\\bin\\util.exe").c_str(), TRUE);
        std::ofstream((root + L"\\admin\\bin\\broken.exe").c_str()) << "no program";
        setConfig(L"PRODUCT_ROOT_D", root);
        setConfig(L"zrmpipe", service.name());
    }

    void setScript(const std::string& script) const
    {
        std::ofstream((root + L"\\admin\\bin\\util.script").c_str()) << script;
    }

    static ScriptedPipe::Script answer(const std::wstring& text)
    {
        vserializer::writer body;
        body.text(text);
        return {{serviceReply(body.message())}};
    }

    /// The utility's output; after a failure "!" and its message.
    std::wstring run(const std::string& script, const std::string* input = nullptr, const wchar_t* name = L"util",
        const wchar_t* arguments = L"--pwd=s3 --x")
    {
        setScript(script);
        std::wstring output = L"before";
        const std::wstring failure =
            failureOf([&] { EXPECT_EQ(0u, execKelvoUtil(name, arguments, &output, true, input, false)); });
        EXPECT_EQ(std::wstring::npos, failure.find(L"s3")) << "a secret";
        return failure == L"nothing thrown" ? output : L"!" + messageIn(failure);
    }

    const ProductRoot product;
    const std::wstring root = product.path();
    ScriptedPipe service;
};

} // namespace

TEST_F(Utility, ReturnsItsOutputOrFailsWithItsExitCode)
{
    const std::string input(300'000, 'i');
    const DWORD start = GetTickCount();
    for (const auto& [script, given, outcome] :
        std::initializer_list<std::tuple<const char*, const std::string*, std::wstring>>{
            {"out one\nerr two\nout three", nullptr, L"one\r\ntwo\r\nthree\r\n"}, {"sleep 50", nullptr, L""},
            {"bytes 300000", nullptr, std::wstring(300'000, L'x')}, {"read", &input, L"300000\r\n"},
            {"hex e4", nullptr, L"ä"}, {"child 20000\nout gone", nullptr, L"gone\r\n"},
            {"out boom\nexit 3", nullptr, L"!Execute util \"--pwd=*\" --x failed with error code 3: boom\r\n"},
            {"crash", nullptr, L"!Execute util \"--pwd=*\" --x failed with error code -1073741819: "}})
        EXPECT_EQ(outcome, run(script, given)) << script;
    EXPECT_LT(GetTickCount() - start, 15'000u) << "a process that the utility started must not delay the end";
    EXPECT_TRUE(run("exit 0", &input).ends_with(L" at Unable to write to pipe")) << "the input is not read";
    EXPECT_EQ(L"!Unable to find path of 'nosuch'", run("", nullptr, L"nosuch"));
    EXPECT_TRUE(run("", nullptr, L"broken")
            .ends_with(L"(Error code 193) at CreateProcess '\"" + root + L"\\admin\\bin\\broken.exe\" --pwd=* --x'"));
}

TEST_F(Utility, IsFoundInTheInstallationDirectoryOnlyAndMayReturnItsExitCode)
{
    setScript("exit 7");
    EXPECT_EQ(7u, execKelvoUtil(L"UTIL.EXE", L"", nullptr, false, nullptr, false));
    EXPECT_EQ(~0u, execKelvoUtil(L"util", L"", nullptr, false, nullptr, true)) << "there is none in bin64";
    vexecutil relative;
    relative.path = L"util.exe";
    EXPECT_THROW(relative.start(), vosexception) << "never from the current directory or PATH";
    EXPECT_EQ(root + L"\\", KelvoRepairAdapter::DefaultSystemHelper().getKelvoRootDir());
}

TEST_F(Utility, RunsAsTheImpersonatedUserWhenOnlyOneTokenIsAnAdministrators)
{
    const UniqueHandle own = identity::tokenOf(GetCurrentProcess(), TOKEN_ALL_ACCESS);
    const identity::Sid administrators = identity::Sid::wellKnown(WinBuiltinAdministratorsSid);
    SID_AND_ATTRIBUTES disabled{administrators.get(), 0};
    UniqueHandle lesser;
    ASSERT_TRUE(CreateRestrictedToken(own.get(), 0, 1, &disabled, 0, nullptr, 0, nullptr, lesser.receive()));
    for (const auto& [token, isAdministrator] : {std::pair{lesser.get(), false}, {own.get(), true}}) {
        UniqueHandle acting;
        ASSERT_TRUE(DuplicateToken(token, SecurityImpersonation, acting.receive()));
        vexecutil child;
        child.path = root + L"\\admin\\bin\\util.exe";
        child.suspended = true;
        SetThreadToken(nullptr, acting.get());
        const std::wstring failure = failureOf([&] { child.start(); });
        RevertToSelf();
        ASSERT_EQ(L"nothing thrown", failure);
        EXPECT_EQ(
            isAdministrator, identity::isAdministrator(identity::tokenOf(child.process.get(), TOKEN_QUERY).get()));
        child.terminate();
    }
}
