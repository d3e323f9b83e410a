#include "app/vconsoleapp.h"

#include "runtime/structured_exception.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace {

using ConsoleApp = RegistrySandbox; // failures are logged

struct TestApplication : vconsoleapp
{
    explicit TestApplication(std::function<int()> work_) : work(std::move(work_)) {}
    std::int32_t go(std::int32_t count, const wchar_t* const*) override { return work() + count; }
    std::function<int()> work;
};

const wchar_t* const arguments[] = {L"mendkit.exe", L"--word", L"a", L"b"};

int fault()
{
    volatile int* volatile const nowhere = nullptr;
    return *nowhere;
}

/// The message of the Error record that the run leaves, without its trail.
std::wstring errorOf(vconsoleapp& application, std::int32_t argc)
{
    testing::internal::CaptureStdout();
    RecordingHandler log;
    EXPECT_EQ(1, application.run(argc, arguments));
    testing::internal::GetCapturedStdout();
    const auto& last = log.records.back();
    EXPECT_EQ(LogLevel::Error, last.level);
    EXPECT_NE(
        std::wstring::npos, last.message.find(L"\n   at (vconsoleapp::run line 117) Unable to execute command: '"));
    return last.message.substr(0, last.message.find(L"\n   at ("));
}

} // namespace

TEST_F(ConsoleApp, ReturnsTheHandlersCodeBetweenTwoRecords)
{
    TestApplication application([] { return 40; });
    RecordingHandler log;
    EXPECT_EQ(42, application.run(4, arguments));
    ASSERT_EQ(2u, log.records.size());
    EXPECT_TRUE(log.records[0].message.starts_with(L"Start command: '"));
    EXPECT_TRUE(log.records[1].message.ends_with(L"' with code: 42"));
}

TEST_F(ConsoleApp, TurnsEveryFailureIntoAnErrorRecordAndOne)
{
    const struct
    {
        std::function<int()> work;
        const wchar_t* message;
    } rows[] = {
        {fault, L"C structured exception: 0xc0000005"},
        {[]() -> int { throw std::runtime_error("text"); }, L"text"},
        {[]() -> int { throw vexception(L"%s%n own", {"f"}); }, L"%s%n own"},
        {[]() -> int { throw 5; }, L"Unexpected error"},
    };
    for (const auto& row : rows) {
        TestApplication application(row.work);
        EXPECT_EQ(row.message, errorOf(application, 2));
        EXPECT_EQ(nullptr, structured_exception::currentTranslator());
    }
}

TEST_F(ConsoleApp, HasAnAnswerToAnApplicationThatOverridesNothing)
{
    vconsoleapp application;
    EXPECT_EQ(L"Missing command parameter", errorOf(application, 1));
    EXPECT_EQ(L"Missing command parameter", errorOf(application, 0));
    EXPECT_EQ(L"Invalid command --word", errorOf(application, 2));
}
