#include "system/service.h"

#include "runtime/vosexception.h"
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
    try {
        service::currentState(L"no such");
        FAIL();
    } catch (const VServiceDoesNotExistException& failure) {
        EXPECT_TRUE(failure.message().ends_with(L" (Error code 1060) at OpenService 'no such'"));
        EXPECT_STREQ("service::queryStatusService", failure.trail().front().site.function);
    }
    const wchar_t* const lines[] = {L"  Service Type: 0x0", L"  Controls Accepted: 0x0", L"  Current State: 0",
        L"  Exit Code: 0", L"  Service Specific Exit Code: 0", L"  Check Point: 0", L"  Wait Hint: 0"};
    ASSERT_EQ(std::size(lines), log.records.size());
    for (std::size_t index = 0; index < std::size(lines); ++index)
        EXPECT_EQ(lines[index], log.records[index].message);
    EXPECT_THROW(service::serviceStartupType(L"no such"), VServiceDoesNotExistException);
    EXPECT_THROW(service::exist(L""), vosexception) << "an empty name is no missing service";
}
