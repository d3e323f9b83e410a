#include "app/vconsoleapp.h"

#include "runtime/structured_exception.h"
#include "test/failure.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

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
volatile int* volatile nowhere = nullptr;

/// The message of the Error record that the run leaves, without its trail.
std::wstring errorOf(vconsoleapp& application, std::int32_t argc)
{
    testing::internal::CaptureStdout();
    RecordingHandler log;
    EXPECT_EQ(1, application.run(argc, arguments));
    testing::internal::GetCapturedStdout();
    const auto& [level, message] = log.records.back();
    EXPECT_EQ(LogLevel::Error, level);
    EXPECT_NE(std::wstring::npos, message.find(L"\n   at (vconsoleapp::run line 117) Unable to execute command: '"));
    return messageIn(message);
}

} // namespace

TEST_F(ConsoleApp, ReturnsTheHandlersCodeOrLogsItsFailure)
{
    EXPECT_EQ(42, TestApplication([] { return 40; }).run(4, arguments)) << "40 and the count it was given";
    for (const auto& [work, message] : std::initializer_list<std::pair<std::function<int()>, const wchar_t*>>{
             {[] { return *nowhere; }, L"C structured exception: 0xc0000005"},
             {[]() -> int { throw std::runtime_error("text"); }, L"text"},
             {[]() -> int { throw vexception(L"%s%n own", {"f"}); }, L"%s%n own"},
             {[]() -> int { throw 5; }, L"Unexpected error"}}) {
        TestApplication application(work);
        EXPECT_EQ(message, errorOf(application, 2));
        EXPECT_EQ(nullptr, structured_exception::currentTranslator());
    }
    vconsoleapp bare; // overrides nothing
    EXPECT_EQ(L"Missing command parameter", errorOf(bare, 1));
    EXPECT_EQ(L"Missing command parameter", errorOf(bare, 0));
    EXPECT_EQ(L"Invalid command --word", errorOf(bare, 2));
}
