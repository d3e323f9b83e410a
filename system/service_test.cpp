#include "system/service.h"

#include "runtime/vosexception.h"
#include "test/failure.h"
#include "test/own_service.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

TEST(Service, AnswersForARealOne)
{
    const OwnService odd(SERVICE_DISABLED, 8, 2000); // a state without a name, a configuration beyond 260 bytes
    EXPECT_TRUE(service::exist(odd.name));
    EXPECT_EQ(8u, service::currentState(odd.name));
    EXPECT_EQ(DWORD{SERVICE_DISABLED}, service::serviceStartupType(odd.name));
    EXPECT_FALSE(service::exist(L"no_such_service"));
}

using ServiceLog = RegistrySandbox;

TEST_F(ServiceLog, HoldsTheStatusRecordOfAFailure)
{
    RecordingHandler log;
    EXPECT_NE(std::wstring::npos, failureOf<VServiceDoesNotExistException>([] {
        service::currentState(L"no such");
    }).find(L" (Error code 1060) at OpenService 'no such'\n   at (service::queryStatusService line "));
    std::wstring lines;
    for (const auto& record : log.records)
        lines += record.message + L"\n";
    EXPECT_EQ(L"  Service Type: 0x0\n  Controls Accepted: 0x0\n  Current State: 0\n  Exit Code: 0\n"
              L"  Service Specific Exit Code: 0\n  Check Point: 0\n  Wait Hint: 0\n",
        lines);
    EXPECT_THROW(service::exist(L""), vosexception) << "an empty name is no missing service";
}
