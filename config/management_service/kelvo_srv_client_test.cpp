#include "config/management_service/kelvo_srv_client.h"

#include "test/failure.h"
#include "test/sandbox.h"
#include "test/scripted_pipe.h"
#include "test/stress.h"

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
const std::wstring unexpectedEnd = L"!Unexpected end of data when read from serializer.";

} // namespace

TEST_F(ServiceClient, SendsTheWireFormat)
{
    ScriptedPipe service({{good}});
    setConfig(L"zrmpipe", service.name());
    EXPECT_EQ(L"C:Ж", ask());
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
