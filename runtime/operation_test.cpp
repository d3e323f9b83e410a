#include "runtime/operation.h"

#include "runtime/com_error.h"
#include "runtime/cwrpexception.h"
#include "runtime/vosexception.h"
#include "test/failure.h"

#include <functional>
#include <stdexcept>
#include <tuple>

namespace {

/// Writes down what happens to spans, one line an event.
class RecordingTracer : public ITracer
{
public:
    RecordingTracer() { setTracer(this); }
    ~RecordingTracer() override { setTracer(nullptr); }

    std::unique_ptr<ISpan> start(const RaiseSite& site) override
    {
        events.push_back(std::string("start ") + site.function);
        return std::make_unique<RecordingSpan>(events);
    }

    std::vector<std::string> events;

private:
    struct RecordingSpan : ISpan
    {
        explicit RecordingSpan(std::vector<std::string>& events_) : events(events_) {}
        ~RecordingSpan() override { events.push_back("close"); }
        void fail(const std::string& text) override { events.push_back("fail " + text); }
        void tag(const std::string& key, const std::string& value) override { events.push_back(key + ": " + value); }
        std::vector<std::string>& events;
    };
};

volatile int* volatile const badAddress = reinterpret_cast<int*>(8);

} // namespace

TEST(Operation, TurnsEveryKindOfFailureIntoAVexception)
{
    for (const auto& [raise, kind, message] :
        std::initializer_list<std::tuple<std::function<void()>, std::string, std::wstring>>{
            {[] { throw std::runtime_error("what"); }, "std::exception", L"what"},
            {[] { throw vexception(L"own", {"g"}); }, "vexception", L"own"},
            {[] { throw _com_error(static_cast<HRESULT>(0x80040205)); }, "_com_error",
                L"IDispatch error #5 (COM Error 80040205)"},
            {[] { throw cwrpexception(0xc0000094); }, "cwrpexception", L"C structured exception: 0xc0000094"},
            {[] { *badAddress = 1; }, "cwrpexception", L"C structured exception: 0xc0000005"},
            {[] { throw 5; }, "unknown", L"Unexpected error"}}) {
        RecordingTracer tracer;
        const auto before = structured_exception::currentTranslator();
        const std::wstring text = failureOf([&] {
            operation(
                {"K::f", 7}, [] { return std::wstring(L"f(x)"); }, [&](Span&) { raise(); });
        });
        EXPECT_EQ(message, messageIn(text));
        EXPECT_TRUE(text.ends_with(L"\n   at (K::f line 7) f(x)"));
        EXPECT_EQ(before, structured_exception::currentTranslator());
        EXPECT_EQ(0, ThreadCancelation::depth());
        ASSERT_EQ(4u, tracer.events.size());
        EXPECT_TRUE(tracer.events[2].starts_with(kind + ": ")) << tracer.events[2];
        tracer.events.erase(tracer.events.begin() + 2);
        EXPECT_EQ((std::vector<std::string>{"start K::f", "fail f(x)", "close"}), tracer.events);
    }
}
