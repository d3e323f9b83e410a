#include "system/error_report_helpers.h"

#include "logging/error_report_handler.h"
#include "test/child_process.h"
#include "test/failure.h"
#include "test/sandbox.h"

#include <fstream>

namespace {

class ErrorReportHelpers : public RegistrySandbox
{
protected:
    const ProductRoot root;
    SendErrorReport::DefaultSystemHelper helper;
};

} // namespace

TEST_F(ErrorReportHelpers, SendUnlessSwitchedOff)
{
    EXPECT_TRUE(helper.isFeedbackEnabled(LogLevel::Error, L"x"));
    for (const auto& [value, enabled] :
        {std::pair{L"false", false}, {L"False", true}, {L"0", true}, {L"false ", true}, {L"", true}}) {
        setConfig(L"SendFeedback", value);
        EXPECT_EQ(enabled, helper.isFeedbackEnabled(LogLevel::Error, L"x")) << value;
    }
    setConfig(L"SendFeedback", 0);
    EXPECT_THROW(helper.isFeedbackEnabled(LogLevel::Error, L"x"), vexception);
}

TEST_F(ErrorReportHelpers, ReadNoMoreOfAFileThanSensible)
{
    const std::wstring path = root.path() + L"\\ticket";
    EXPECT_FALSE(helper.fileExists(path));
    EXPECT_FALSE(helper.fileExists(root.path()));
    std::ofstream(path.c_str(), std::ios::binary) << std::string(5'000'000, 'x');
    EXPECT_TRUE(helper.fileExists(path));
    EXPECT_EQ(1u << 20, helper.readFile(path).size());
    EXPECT_THROW(helper.readFile(root.path()), VAccessDeniedException);
}

TEST_F(ErrorReportHelpers, HaveNoPatienceWithAUtilityThatDoesNotRead)
{
    const std::wstring utility = root.path() + L"\\admin\\bin\\send-error-report";
    SendErrorReport::LogHandler handler(std::make_shared<SendErrorReport::DefaultSystemHelper>());
    setConfig(L"PRODUCT_ROOT_D", root.path());
    const auto milliseconds = [&](const std::wstring& message) {
        const ULONGLONG begun = GetTickCount64();
        handler.log(LogLevel::Error, message);
        return GetTickCount64() - begun;
    };
    EXPECT_LT(milliseconds(L"no utility"), 100u);
    CopyFileW(builtProgram(L"devpanel\\devutility.exe").c_str(), (utility + L".exe").c_str(), TRUE);
    std::ofstream((utility + L".script").c_str()) << "sleep 3500";
    const ULONGLONG large = milliseconds(std::wstring(1 << 20, L'x'));
    EXPECT_GE(large, 1400u) << "it was started, and given a chance";
    EXPECT_LT(large, 3000u);
}
