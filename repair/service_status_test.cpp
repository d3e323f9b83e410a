#include "repair/adapter.h"
#include "repair/json_text.h"
#include "runtime/vosexception.h"

#include <gtest/gtest.h>
#include <json/value.h>

#include <vector>

namespace {

/// Services from memory; remembers what was asked. An unset answer fails as the real one would.
struct FakeSystemHelper : KelvoRepairAdapter::ISystemHelper
{
    bool isServiceExist(const std::wstring&) override
    {
        ++calls;
        if (denied)
            throwOsError(ERROR_ACCESS_DENIED, L"OpenService 'x'", {"service::exist"});
        return exists;
    }
    std::uint32_t getServiceStartupType(const std::wstring&) override { return ++calls, startType; }
    std::uint32_t getServiceStatus(const std::wstring&) override { return ++calls, state; }

    bool denied = false, exists = true;
    std::uint32_t startType = 2, state = 4;
    int calls = 0;
};

} // namespace

TEST(ServiceStatus, AsksOnlyWhatItNeeds)
{
    const struct
    {
        bool exists;
        std::uint32_t startType, state;
        const wchar_t* status; // null: no member
        int calls;
    } rows[] = {{false, 2, 4, L"invalid", 1}, {true, 4, 4, L"disabled", 2}, {true, 2, 1, L"stopped", 3},
        {true, 3, 2, L"starting", 3}, {true, 0, 3, L"stopping", 3}, {true, 1, 4, L"running", 3},
        {true, 2, 5, L"continuing", 3}, {true, 2, 6, L"pausing", 3}, {true, 2, 7, L"paused", 3},
        {true, 2, 0, nullptr, 3}, {true, 2, 8, nullptr, 3}};
    for (const auto& row : rows) {
        auto helper = std::make_shared<FakeSystemHelper>();
        helper->exists = row.exists;
        helper->startType = row.startType;
        helper->state = row.state;
        const std::wstring status =
            row.status ? L",\n\t\"status\" : \"" + std::wstring(row.status) + L"\"" : L"";
        EXPECT_EQ(L"{\n\t\"name\" : \"Ж\"" + status + L"\n}\n",
            KelvoRepair::Adapter(helper).getServiceStatus(L"Ж"));
        EXPECT_EQ(row.calls, helper->calls);
    }
}

TEST(ServiceStatus, FailsWithTheCallInTheTrail)
{
    auto helper = std::make_shared<FakeSystemHelper>();
    helper->denied = true;
    try {
        KelvoRepair::Adapter(helper).getServiceStatus(L"a --pwd=b");
        FAIL();
    } catch (const VAccessDeniedException& failure) {
        ASSERT_EQ(2u, failure.trail().size());
        EXPECT_STREQ("KelvoRepair::Adapter::getServiceStatus", failure.trail()[1].site.function);
        EXPECT_EQ(L"getServiceStatus(a --pwd=*)", failure.trail()[1].context);
    }
    EXPECT_EQ(1, helper->calls);
}

TEST(StyledText, HasTheLayoutOfTheLibraryAndLettersAsTheyAre)
{
    Json::Value value(Json::arrayValue);
    value.append(Json::Value(Json::objectValue));
    value[0]["empty"] = Json::Value(Json::arrayValue);
    value[0]["large"] = Json::Value::maxLargestUInt;
    value[0]["text"] = "quote \" backslash \\ slash / tab \t control \x01 del \x7f";
    value[0]["nested"]["list"].append(1);
    value[0]["nested"]["list"].append("x");
    const std::string styled = value.toStyledString();
    EXPECT_EQ(std::wstring(styled.begin(), styled.end()), styledText(value));
    EXPECT_EQ(L"\"Ж\xd83d\xde00\xfffd\"\n", styledText(jsonText(L"Ж\xd83d\xde00\xd83d")));
}
