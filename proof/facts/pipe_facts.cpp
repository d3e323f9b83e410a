// Whom the program believes at the management service's pipe.

#include "config/pipe/pipe_server_facts.h"
#include "config/pipe/server_pipe.h"
#include "proof/facts/needs.h"
#include "proof/facts/other_account.h"
#include "proof/facts/temporary_service.h"
#include "proof/facts/unelevated.h"
#include "test/json_document.h"
#include "test/program.h"
#include "test/scripted_pipe.h"

#include <optional>
#include <thread>

namespace {

const std::wstring pipes = L"\\\\.\\pipe\\";

class Pipe : public ProgramRun
{
protected:
    Pipe()
    {
        setConfig(L"SendFeedback", L"false");
        setConfig(L"Debug", 1);
        const std::wstring admin = root.path() + L"\\admin";
        CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (admin + L"\\bin\\sysinfo.exe").c_str(), TRUE);
        CopyFileW(devpanel.c_str(), image.c_str(), TRUE);
        CopyFileW(builtProgram(L"app\\mendkit.exe").c_str(), (admin + L"\\mendkit.exe").c_str(), TRUE);
    }

    static ScriptedPipe::Script answer(const std::wstring& directory)
    {
        vserializer::writer body;
        body.text(directory);
        return {{serviceReply(body.message())}};
    }

    static ChildResult ask(const std::wstring& pipe)
    {
        setConfig(L"zrmpipe", pipe);
        return run(L"--get-system-resources");
    }

    static bool isBelieved(const ChildResult& result)
    {
        return result.exitCode == 0 && !jsonDocument(result.output).isNull();
    }

    static bool isRefused(const ChildResult& result, const std::wstring& pipe)
    {
        const std::string refusal =
            "(Error code 5) at Unable to connect to pipe \\\\.\\pipe\\" + std::string(pipe.begin(), pipe.end());
        return result.exitCode == 1 && result.output.find(refusal) != std::string::npos;
    }

    static std::optional<identity::Sid> ownerOf(const std::wstring& pipe)
    {
        const UniqueFile client(
            CreateFileW((pipes + pipe).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        return Con::PipeServerFacts(client.get()).owner();
    }

    const std::wstring image = root.path() + L"\\admin\\bin64\\devpanel.exe";
    // In the kit's own disk: other accounts may not be allowed to read the kit's folder.
    const std::wstring askingCommand = L"\"" + root.path() + L"\\admin\\mendkit.exe\" --get-system-resources";
    const std::wstring outputFile = root.path() + L"\\output";
};

/// The owner that objects of this process get.
identity::Sid defaultOwner()
{
    BYTE memory[sizeof(TOKEN_OWNER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    const UniqueHandle token = identity::tokenOf(GetCurrentProcess(), TOKEN_QUERY);
    return GetTokenInformation(token.get(), TokenOwner, memory, sizeof memory, &size)
               ? identity::Sid(reinterpret_cast<TOKEN_OWNER*>(memory)->Owner)
               : identity::Sid();
}

/// The server of a pipe, which impersonates its client.
class ImpersonatingServer
{
public:
    explicit ImpersonatingServer(const std::wstring& name)
    {
        SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
        ConvertStringSecurityDescriptorToSecurityDescriptorW(
            ScriptedPipe::trustedSecurity.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
        const UniqueLocalMemory descriptor(attributes.lpSecurityDescriptor);
        pipe_.reset(CreateNamedPipeW(
            (pipes + name).c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 4096, 4096, 0, &attributes));
        thread_ = std::thread([this] { serve(); });
    }
    ~ImpersonatingServer() { thread_.join(); }

    /// The level of the client's token; -1 when it cannot be impersonated at all. Waits for the client.
    int level()
    {
        while (!isDone_)
            Sleep(10);
        return level_;
    }

private:
    void serve()
    {
        char bytes[4];
        DWORD size = 0;
        ConnectNamedPipe(pipe_.get(), nullptr);
        ReadFile(pipe_.get(), bytes, sizeof bytes, &size, nullptr);
        UniqueHandle token;
        SECURITY_IMPERSONATION_LEVEL found{};
        if (ImpersonateNamedPipeClient(pipe_.get()) &&
            OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.receive()) &&
            GetTokenInformation(token.get(), TokenImpersonationLevel, &found, sizeof found, &size))
            level_ = found;
        RevertToSelf();
        pipe_.reset();
        isDone_ = true;
    }

    UniqueFile pipe_;
    std::atomic<int> level_ = -1;
    std::atomic<bool> isDone_ = false;
    std::thread thread_;
};

} // namespace

TEST_F(Pipe, Owners)
{
    const identity::Sid administrators = identity::Sid::parse(L"BA"), none;
    if (!kit::isWine() && !(defaultOwner() == administrators))
        GTEST_SKIP() << "what this prompt makes belongs to its user, by a policy of the machine";
    // "Named Pipe Security and Access Rights": by default everyone may read, only these and the owner may write.
    const identity::Sid& expected = kit::isWine() ? none : administrators;
    {
        const ScriptedPipe pipe(answer(root.path()), false, L"");
        EXPECT_EQ(expected, ownerOf(pipe.name())) << "the system gives an administrator's pipe another owner";
    }
    {
        const ScriptedPipe pipe(answer(root.path()), false, L"");
        const ChildResult result = ask(pipe.name());
        EXPECT_TRUE(isBelieved(result)) << "an administrator's pipe is refused: " << result.output;
    }
    const TemporaryService service(L"system", L"\"" + image + L"\" service");
    ASSERT_EQ(DWORD{ERROR_SUCCESS}, service.start({L"mendkit_of_system", L"default"}));
    ASSERT_TRUE(becomesFree(L"mendkit_of_system"));
    EXPECT_EQ(expected, ownerOf(L"mendkit_of_system")) << "the system gives a pipe of SYSTEM another owner";
    const ChildResult result = ask(L"mendkit_of_system");
    EXPECT_TRUE(isBelieved(result)) << "the pipe of a service of SYSTEM is refused: " << result.output;
}

TEST_F(Pipe, ServiceAccounts)
{
    SKIP_UNDER_WINE("services run as the user");
    for (const wchar_t* account : {L"NT AUTHORITY\\LocalService", L"NT SERVICE\\mendkit_proof_account"}) {
        const std::wstring pipe = L"mendkit_of_account";
        const testing::ScopedTrace trace(__FILE__, __LINE__, testing::PrintToString(account));
        const TemporaryService service(L"account", L"\"" + image + L"\" service", account);
        const auto serve = [&](const wchar_t* security) {
            service.stop();
            const DWORD code = service.start({pipe.c_str(), security});
            return code == ERROR_SUCCESS && !becomesFree(pipe) ? DWORD{WAIT_TIMEOUT} : code;
        };
        if (const DWORD code = serve(L"user"))
            GTEST_SKIP() << "a service of this account does not start: " << code;
        ChildResult result = ask(pipe);
        EXPECT_TRUE(isBelieved(result)) << "refused at an elevated prompt: " << result.output;
        result = runAsSystem(askingCommand, outputFile);
        EXPECT_TRUE(isBelieved(result)) << "refused by a service of SYSTEM: " << result.output;
        setConfig(L"PRODUCT_ROOT_D", root.path() + L"\\admin\\bin");
        result = ask(pipe);
        EXPECT_TRUE(isRefused(result, pipe)) << "a service of another product is believed: " << result.output;
        setConfig(L"PRODUCT_ROOT_D", root.path());

        ASSERT_EQ(DWORD{ERROR_SUCCESS}, serve(L"open"));
        result = ask(pipe);
        EXPECT_TRUE(isBelieved(result)) << "the registry confirms the answer, but it is refused: " << result.output;
        result = runUnelevated(askingCommand, outputFile);
        EXPECT_TRUE(isBelieved(result) || isRefused(result, pipe))
            << "neither believed nor refused without elevation: " << result.output;
        std::printf("Figure: without elevation a service of %ls is %s\n", account,
            isBelieved(result) ? "believed" : "refused");
    }
}

TEST_F(Pipe, Squatter)
{
    NEEDS_ACCOUNT();
    std::unique_ptr<ScriptedPipe> squatter;
    std::wstring stranger;
    {
        const AsOtherAccount other;
        stranger = identity::currentUser().text();
        squatter = std::make_unique<ScriptedPipe>(answer(root.path()), false, L"D:(A;;GA;;;WD)");
    }
    ASSERT_TRUE(*squatter) << "the other account cannot make a pipe";
    const ChildResult result = ask(squatter->name());
    EXPECT_TRUE(isRefused(result, squatter->name())) << "the pipe of a stranger is believed: " << result.output;
    EXPECT_EQ("", squatter->received()) << "the stranger was asked";
    EXPECT_NE(std::wstring::npos, root.log().find(L"the pipe's owner " + stranger))
        << "no Warning names the owner: " << testing::PrintToString(root.log());
}

TEST_F(Pipe, FirstInstance)
{
    NEEDS_ACCOUNT();
    const std::wstring lie = root.path() + L"\\admin";
    const ScriptedPipe service(answer(root.path()), false, L"O:BAD:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GRGW;;;WD)", 2);
    const UniqueFile busy(CreateFileW((pipes + service.name()).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
        OPEN_EXISTING, 0, nullptr)); // so the program connects to the other instance
    for (const bool isLie : {true, false}) {
        std::unique_ptr<ScriptedPipe> intruder;
        {
            const AsOtherAccount other; // needs FILE_CREATE_PIPE_INSTANCE, as the same page says
            intruder =
                std::make_unique<ScriptedPipe>(answer(isLie ? lie : root.path()), false, L"", 2, service.name());
        }
        ASSERT_TRUE(*intruder) << "a right to write does not let others add an instance";
        const ChildResult result = ask(service.name());
        EXPECT_NE("", intruder->received()) << "another instance was asked";
        EXPECT_EQ(!isLie, isBelieved(result)) << result.output;
        EXPECT_EQ(isLie, result.output.starts_with("The management service names the installation directory"))
            << "a stranger names the directory whose programs run: " << result.output;
    }
}

TEST_F(Pipe, Impersonation)
{
    SKIP_UNDER_WINE("the level that a client allows has no effect");
    {
        ImpersonatingServer server(L"mendkit_control");
        const UniqueFile client(CreateFileW((pipes + L"mendkit_control").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
            nullptr, OPEN_EXISTING, 0, nullptr)); // without SECURITY_SQOS_PRESENT: SecurityImpersonation
        DWORD size = 0;
        WriteFile(client.get(), "abcd", 4, &size, nullptr);
        if (server.level() != SecurityImpersonation)
            GTEST_SKIP() << "this prompt cannot impersonate any client: level " << server.level();
    }
    ImpersonatingServer server(L"mendkit_impersonates");
    ask(L"mendkit_impersonates");
    EXPECT_EQ(SecurityIdentification, server.level()) << "a pipe's server may act with the program's rights";
}

TEST_F(Pipe, EmptyWrite)
{
    DWORD size = 0;
    char byte = 0;
    Con::ServerOverlappedPipe reader(10'000);
    reader.create(
        pipes + L"mendkit_empty_write", PIPE_ACCESS_DUPLEX, Con::ServerOverlappedPipe::Owner::administrators);
    const UniqueFile writer(CreateFileW((pipes + L"mendkit_empty_write").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
        nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(reader.connect(1000));
    std::thread writing([&] {
        for (const DWORD count : {0, 1})
            WriteFile(writer.get(), "x", count, &size, nullptr);
    });
    EXPECT_EQ(1u, reader.read(&byte, 1)) << "a write of no bytes is taken for the end of the pipe";
    writing.join();

    SKIP_UNDER_WINE("writes of no bytes are dropped");
    // "ReadFile function": no bytes tell that the other end of a pipe has called WriteFile for none.
    UniqueFile end, start;
    ASSERT_TRUE(CreatePipe(end.receive(), start.receive(), nullptr, 0));
    std::thread other([&] {
        for (const DWORD count : {0, 1})
            WriteFile(start.get(), "x", count, &size, nullptr);
    });
    DWORD received = 9;
    EXPECT_TRUE(ReadFile(end.get(), &byte, 1, &received, nullptr));
    EXPECT_EQ(0u, received) << "a write of no bytes does not arrive";
    end.reset(); // lets the writer end
    other.join();
}
