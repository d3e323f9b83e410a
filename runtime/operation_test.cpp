#include "runtime/operation.h"

#include "runtime/com_error.h"
#include "runtime/cwrpexception.h"
#include "runtime/vosexception.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <vector>

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

struct LadderCase
{
    const char* name;
    std::function<void()> raise;
    const char* kind;
    std::wstring message;
};

void PrintTo(const LadderCase& row, std::ostream* out)
{
    *out << row.name;
}

volatile int* volatile const badAddress = reinterpret_cast<int*>(8);

class Ladder : public testing::TestWithParam<LadderCase>
{
};

} // namespace

TEST_P(Ladder, TurnsEveryKindIntoAVexception)
{
    RecordingTracer tracer;
    const auto before = structured_exception::currentTranslator();
    try {
        operation(
            {"K::f", 7}, [] { return std::wstring(L"f(x)"); }, [](Span&) { GetParam().raise(); });
        FAIL();
    } catch (const vexception& failure) {
        EXPECT_EQ(GetParam().message, failure.message());
        EXPECT_EQ(L"f(x)", failure.trail().back().context);
        EXPECT_TRUE(failure.fullText().ends_with(L"\n   at (K::f line 7) f(x)"));
    }
    EXPECT_EQ(before, structured_exception::currentTranslator());
    EXPECT_EQ(0, ThreadCancelation::depth());
    ASSERT_EQ(4u, tracer.events.size());
    EXPECT_EQ("start K::f", tracer.events[0]);
    EXPECT_EQ("fail f(x)", tracer.events[1]);
    EXPECT_TRUE(tracer.events[2].starts_with(std::string(GetParam().kind) + ": ")) << tracer.events[2];
    EXPECT_EQ("close", tracer.events[3]);
}

INSTANTIATE_TEST_SUITE_P(Table, Ladder,
    testing::Values(LadderCase{"Standard", [] { throw std::runtime_error("what"); }, "std::exception", L"what"},
        LadderCase{"Own", [] { throw vexception(L"own", {"g"}); }, "vexception", L"own"},
        LadderCase{"Com", [] { throw _com_error(static_cast<HRESULT>(0x80040205)); }, "_com_error",
            L"IDispatch error #5 (COM Error 80040205)"},
        LadderCase{"Structured", [] { throw cwrpexception(0xc0000094); }, "cwrpexception",
            L"C structured exception: 0xc0000094"},
        LadderCase{"Fault", [] { *badAddress = 1; }, "cwrpexception", L"C structured exception: 0xc0000005"},
        LadderCase{"Other", [] { throw 5; }, "unknown", L"Unexpected error"}),
    [](const auto& row) { return row.param.name; });

TEST(Operation, KeepsTheClassAndTheTrailOfAVexception)
{
    const auto inner = [](Span&) { throwOsError(ERROR_ACCESS_DENIED, L"", {"h", 1}); };
    try {
        operation(
            {"g", 2}, [] { return std::wstring(L"g()"); },
            [&](Span&) {
                operation(
                    {"f", 3}, []() -> std::wstring { throw std::bad_alloc(); }, inner);
            });
        FAIL();
    } catch (const VAccessDeniedException& failure) {
        EXPECT_TRUE(failure.fullText().ends_with(L"\n   at (h line 1)\n   at (f line 3)\n   at (g line 2) g()"));
    }
}

TEST(Operation, DescribesOnlyWhatFailedOrIsTraced)
{
    int described = 0;
    const auto describe = [&] {
        ++described;
        return std::wstring(L"Ж()");
    };
    EXPECT_EQ(5, operation({"f"}, describe, [](Span&) { return 5; }));
    changingOperation({"f"}, describe, [] {});
    EXPECT_EQ(0, described);

    RecordingTracer tracer;
    changingOperation({"f"}, describe, [] {});
    EXPECT_EQ((std::vector<std::string>{"start f", "if_error: ?()", "close"}), tracer.events);
}
