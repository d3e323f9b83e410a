#include "config/management_service/kelvo_srv_client.h"

#include "config/pipe/pipe_server_facts.h"
#include "runtime/access_list.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "test/failure.h"
#include "test/file_opens.h"
#include "test/replaced_import.h"
#include "test/sandbox.h"
#include "test/scripted_pipe.h"
#include "test/stress.h"

#include <aclapi.h>

using namespace std::string_literals;

namespace {

struct RecordingServiceLog : IServiceLog
{
    void info(const std::wstring& message) noexcept override { lines.push_back(L"info " + message); }
    void warning(const std::wstring& message) noexcept override { lines.push_back(L"warning " + message); }
    void error(const vexception& failure) noexcept override { lines.push_back(L"error " + failure.message()); }
    std::vector<std::wstring> lines;
};

class ServiceClient : public RegistrySandbox
{
protected:
    /// @return the text of getString, or "!" and the message of its failure
    std::wstring ask(DWORD timeout = 5000)
    {
        std::wstring text;
        const std::wstring failure =
            failureOf([&] { text = KelvoSrvClient(log, timeout).getString(L"DumpTempDir"); });
        return failure == L"nothing thrown" ? text : L"!" + messageIn(failure);
    }

    RecordingServiceLog log;
};

const std::string good = serviceReply("\x07\0\0\0\x02"
                                      "C\0:\0\x16\x04"s);
BOOL WINAPI failToPeek(HANDLE, void*, DWORD, DWORD*, DWORD*, DWORD*)
{
    return FALSE;
}

const identity::Sid service_ = identity::Sid::parse(L"S-1-5-80-1-2-3-4-5"),
                    pool = identity::Sid::parse(L"S-1-5-82-1-2-3-4-5");
DWORD groupAttributes = 0, serviceState = 0, serviceProcess = 0;

/// Names two groups of this process.
BOOL WINAPI tellGroups(HANDLE token, TOKEN_INFORMATION_CLASS kind, void* information, DWORD size, DWORD* needed)
{
    const auto system = reinterpret_cast<decltype(&GetTokenInformation)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"advapi32.dll"), "GetTokenInformation")));
    if (kind != TokenGroups)
        return system(token, kind, information, size, needed);
    *needed = 100;
    if (size == 0)
        return FALSE;
    auto* const groups = static_cast<TOKEN_GROUPS*>(information);
    groups->GroupCount = 2;
    groups->Groups[0] = {service_.get(), groupAttributes};
    groups->Groups[1] = {pool.get(), groupAttributes};
    return TRUE;
}

/// Names one service.
BOOL WINAPI tellServices(SC_HANDLE, SC_ENUM_TYPE, DWORD kinds, DWORD states, BYTE* bytes, DWORD, DWORD* needed,
    DWORD* count, DWORD* resume, const wchar_t*)
{
    EXPECT_TRUE(kinds == SERVICE_WIN32 && states == SERVICE_ACTIVE);
    *needed = *resume = 0;
    *count = 1;
    static wchar_t name[] = L"s";
    auto* const service = reinterpret_cast<ENUM_SERVICE_STATUS_PROCESSW*>(bytes);
    *service = {name, name, {0x10, serviceState, 0, 0, 0, 0, 0, serviceProcess, 0}};
    return TRUE;
}

DWORD WINAPI denySecurity(HANDLE, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID*, PSID*, PACL*, PACL*, void**)
{
    return ERROR_ACCESS_DENIED;
}

const std::wstring unexpectedEnd = L"!Unexpected end of data when read from serializer.";

} // namespace

TEST_F(ServiceClient, SendsTheWireFormat)
{
    // The server reads the length first, as a message of its own.
    ScriptedPipe service({{good.substr(0, 4), good.substr(4)}}, true);
    setConfig(L"zrmpipe", service.name());
    const FileOpens opens;
    EXPECT_EQ(L"C:Ж", ask());
    EXPECT_EQ(L"c0000000 0 3 40110000", FileOpens::of(L"\\\\.\\pipe\\")) << "the server may identify the user only";
    EXPECT_EQ("\x2f\0\0\0\x10\0\0\0\x3c\xbc\x3e\xad\xb9\xe6\xcf\x4f\xab\xb9\xed\x1b\x3d\x52\x4f\x22\x17\0\0\0\x02"
              "D\0u\0m\0p\0T\0e\0m\0p\0D\0i\0r\0"s,
        service.received());
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(ServiceClient, HandlesEveryKindOfReply)
{
    struct Row
    {
        const char* name;
        ScriptedPipe::Script script;
        std::wstring outcome;
        bool messages = false;
    };
    for (const auto& [name, script, outcome, messages] :
        std::initializer_list<Row>{{"byte by byte", {{good}, 1}, L"C:Ж"},
            {"a message-type pipe", {{good.substr(0, 6), good.substr(6)}}, L"C:Ж", true},
            {"narrow", {{serviceReply("\x03\0\0\0\x01xy"s.substr(0, 7))}}, L"xy"},
            {"long", {{serviceReply("\x21\x4e\0\0\x01"s + std::string(20'000, 'x'))}}, std::wstring(20'000, L'x')},
            {"empty text", {{serviceReply("\0\0\0\0"s)}}, L""},
            {"half a character", {{serviceReply("\x04\0\0\0\x02x\0y"s)}}, L"x"},
            {"empty reply", {{serviceReply("")}}, unexpectedEnd},
            {"text longer than the reply", {{serviceReply("\xf0\0\0\0\x02x\0"s)}}, unexpectedEnd},
            {"unknown character size", {{serviceReply("\x02\0\0\0\x04x"s)}},
                L"!Unsupported char size when read C-string from serializer."},
            {"a failure", {{serviceReply("\xff\xff\xff\xff\x03\0\0\0\x01no"s)}}, L"!no"},
            {"a broken failure", {{serviceReply("\xff\xff\xff\xff\x09\0\0\0\x01no"s)}},
                L"!Double exception on read from serializer"},
            {"4 GiB announced", {{"\xff\xff\xff\xff"s}}, L"!Invalid Protocol when read C-string from serializer."},
            {"closed before the reply", {{}}, L"!Pipe is finished"},
            {"closed in the reply", {{good.substr(0, 7)}}, L"!Pipe is finished"}}) {
        log.lines.clear();
        ScriptedPipe service(script, messages);
        setConfig(L"zrmpipe", service.name());
        EXPECT_EQ(outcome, ask()) << name;
        if (outcome == L"!Pipe is finished") {
            EXPECT_EQ((std::vector<std::wstring>{
                          L"warning Connection to Kelvo Management Service is broken: Pipe is finished",
                          L"error Pipe is finished"}),
                log.lines);
        }
    }
}

TEST_F(ServiceClient, ChecksThePipesOwnerAndAccessList)
{
    struct Row
    {
        const char* name;
        std::wstring security;
        std::wstring outcome; // "!": refused
        bool needsConfirmation = false;
    };
    for (const auto& [name, security, outcome, needsConfirmation] :
        std::initializer_list<Row>{{"administrators", ScriptedPipe::trustedSecurity, L"C:Ж"},
            {"no descriptor", L"", L"C:Ж"}, {"Everyone", L"O:WDD:(A;;GA;;;BA)", L"!"},
            {"a service without a process of the panel", L"O:LSD:(A;;GA;;;BA)", L"!"},
            {"users may write", L"O:BAD:(A;;GA;;;BA)(A;;0x12019f;;;BU)", L"C:Ж", true},
            {"users may read", L"O:SYD:(A;;GA;;;BA)(A;;GR;;;BU)", L"C:Ж"},
            {"users may change the list", L"O:BAD:(A;;GA;;;BA)(A;;WD;;;BU)", L"C:Ж", true},
            {"users may take the pipe", L"O:BAD:(A;;GA;;;BA)(A;;WO;;;BU)", L"C:Ж", true},
            {"an entry for children and a denying one", L"O:BAD:(D;;GA;;;BG)(A;;GA;;;BA)(A;OIIO;GA;;;BU)", L"C:Ж"}}) {
        log.lines.clear();
        ScriptedPipe service({{good}}, false, security);
        setConfig(L"zrmpipe", service.name());
        KelvoSrvClient client(log, 5000);
        std::wstring text;
        const std::wstring failure = failureOf([&] { text = client.getString(L"DumpTempDir"); });
        EXPECT_EQ(outcome == L"!" ? L"" : outcome, text) << name;
        EXPECT_EQ(needsConfirmation, client.needsConfirmation()) << name;
        if (outcome != L"!")
            continue;
        const std::wstring pipe = L"\\\\.\\pipe\\" + service.name();
        EXPECT_TRUE(messageIn(failure).ends_with(L"(Error code 5) at Unable to connect to pipe " + pipe)) << name;
        ASSERT_EQ(2u, log.lines.size()) << name;
        EXPECT_EQ(L"warning The server of pipe " + pipe + L" is not trusted: process " +
                      std::to_wstring(GetCurrentProcessId()) + L", its user " + identity::currentUser().text() +
                      L", the pipe's owner " + (security[2] == L'W' ? L"S-1-1-0" : L"S-1-5-19") + L" (Error code 0)",
            log.lines[0])
            << name;
    }
}

TEST(AccessList, GrantsToEveryoneOrIsUnreadableInDoubt)
{
    EXPECT_EQ(std::vector{identity::Sid::parse(L"WD")}, identity::granted(nullptr, GENERIC_ALL)) << "no list";
    BYTE memory[64];
    ACL* const list = reinterpret_cast<ACL*>(memory);
    ACE_HEADER* entry = nullptr;
    InitializeAcl(list, sizeof memory, ACL_REVISION);
    AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, identity::Sid::parse(L"BA").get());
    EXPECT_EQ(std::vector{identity::Sid::parse(L"BA")}, identity::granted(list, GENERIC_ALL));
    GetAce(list, 0, reinterpret_cast<void**>(&entry));
    entry->AceType = ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
    EXPECT_FALSE(identity::granted(list, GENERIC_ALL)) << "an entry with a condition";
}

TEST_F(ServiceClient, AsksTheSystemAboutTheServersProcess)
{
    const ScriptedPipe service(ScriptedPipe::Script{});
    const UniqueFile pipe(CreateFileW((L"\\\\.\\pipe\\" + service.name()).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
        nullptr, OPEN_EXISTING, 0, nullptr));
    Con::PipeServerFacts facts(pipe.get());
    EXPECT_EQ(Con::Known::unknown, facts.isImageOfPanel()) << "the registry names no directory";
    for (const auto& [directory, outcome] : {std::pair(L"..", Con::Known::yes), {L"..\\..\\runtime", Con::Known::no},
             {L"..\\missing", Con::Known::unknown}}) {
        setConfig(L"PRODUCT_ROOT_D", path::combine(moduleFileName(), directory));
        EXPECT_EQ(outcome, facts.isImageOfPanel()) << testing::PrintToString(directory);
    }
    EXPECT_TRUE(facts.serviceTypes().empty()) << "this process is no service";
    EXPECT_EQ(Con::Known::yes, facts.runsAs(identity::currentUser()));
    EXPECT_EQ(Con::Known::no, facts.runsAs(identity::Sid::parse(L"BA"))) << "an enabled group, but no service";
    EXPECT_EQ(Con::Known::no, facts.runsAs(identity::Sid::parse(L"LS")));
}

TEST_F(ServiceClient, CountsEnabledGroupsOfServicesAndRunningServices)
{
    const ScriptedPipe server(ScriptedPipe::Script{});
    const UniqueFile pipe(CreateFileW((L"\\\\.\\pipe\\" + server.name()).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
        nullptr, OPEN_EXISTING, 0, nullptr));
    const ReplacedImport groups("GetTokenInformation", tellGroups), services("EnumServicesStatusExW", tellServices);
    for (const auto& [attributes, outcome] : {std::pair{SE_GROUP_ENABLED, Con::Known::yes}, {0L, Con::Known::no},
             {SE_GROUP_ENABLED | SE_GROUP_USE_FOR_DENY_ONLY, Con::Known::no}}) {
        groupAttributes = static_cast<DWORD>(attributes);
        EXPECT_EQ(outcome, Con::PipeServerFacts(pipe.get()).runsAs(service_)) << attributes;
        EXPECT_EQ(Con::Known::no, Con::PipeServerFacts(pipe.get()).runsAs(pool)) << "the identity of many processes";
    }
    for (const auto& [state, process, count] : {std::tuple(SERVICE_RUNNING, GetCurrentProcessId(), 1u),
             {SERVICE_STOP_PENDING, GetCurrentProcessId(), 0u}, {SERVICE_RUNNING, 4u, 0u}}) {
        serviceState = state, serviceProcess = process;
        EXPECT_EQ(count, Con::PipeServerFacts(pipe.get()).serviceTypes().size()) << state << " " << process;
    }
}

TEST_F(ServiceClient, NoticesAServerThatEndedBeforeTheCheck)
{
    ScriptedPipe service({{}}, false, L"O:WDD:(A;;GA;;;BA)");
    const UniqueFile pipe(CreateFileW((L"\\\\.\\pipe\\" + service.name()).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
        nullptr, OPEN_EXISTING, 0, nullptr));
    Con::PipeServerFacts facts(pipe.get());
    EXPECT_FALSE(facts.hasServerEnded());
    DWORD bytes = 0;
    WriteFile(pipe.get(), "\1\0\0\0x", 5, &bytes, nullptr); // it reads this and ends
    ReadFile(pipe.get(), &bytes, 1, &bytes, nullptr);
    EXPECT_TRUE(facts.hasServerEnded());

    const ScriptedPipe silent(ScriptedPipe::Script{});
    setConfig(L"zrmpipe", silent.name());
    const ReplacedImport peek("PeekNamedPipe", failToPeek), security("GetSecurityInfo", denySecurity);
    EXPECT_TRUE(ask().ends_with(L"(Error code 109) at Unable to connect to pipe \\\\.\\pipe\\" + silent.name()));
    EXPECT_EQ(L"warning The server of pipe \\\\.\\pipe\\" + silent.name() +
                  L" has ended before it could be checked: process " + std::to_wstring(GetCurrentProcessId()) +
                  L", its user " + identity::currentUser().text() + L", the pipe's owner unknown (Error code 5)",
        log.lines.front());
}

TEST_F(ServiceClient, FailsWhenTheServiceDoesNotAnswer)
{
    setConfig(L"PipeConnectTryCount", 2);
    ScriptedPipe silent({{}, 0, 3000});
    setConfig(L"zrmpipe", silent.name());
    EXPECT_TRUE(ask(200).ends_with(L"(Error code 258) at Unable to complete pipe operation"));

    const ScriptedPipe busy(ScriptedPipe::Script{});
    const UniqueFile other(CreateFileW((L"\\\\.\\pipe\\" + busy.name()).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
        nullptr, OPEN_EXISTING, 0, nullptr));
    setConfig(L"zrmpipe", busy.name());
    EXPECT_TRUE(ask().ends_with(L"(Error code 231) at Unable to connect to pipe \\\\.\\pipe\\" + busy.name()));
}

TEST(SerializerSweep, NeverReadsOrReturnsMoreThanItReceived)
{
    std::mt19937 random = seeded();
    int texts = 0, failures = 0;
    const int count = rounds(200'000, 5'000'000);
    for (int round = 0; round < count; ++round) {
        std::string bytes = random() % 2 ? good.substr(4) : "\xff\xff\xff\xff" + good.substr(4);
        for (unsigned changes = random() % 4; changes > 0; --changes)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        bytes.resize(random() % (bytes.size() + 3));
        // A heap block of exactly this size: a read beyond it may fault, a longer text fails the check below.
        const std::vector<char> exact(bytes.begin(), bytes.end());
        try {
            texts += vserializer::reader({exact.data(), exact.size()}).text().size() <= exact.size() ? 1 : -1'000'000;
        } catch (const vexception& failure) {
            ++failures;
            ASSERT_LT(failure.message().size(), 80u);
        }
    }
    EXPECT_GT(texts, 10'000);
    EXPECT_GT(failures, 10'000);
    figure(count, "damaged replies decoded");
}
