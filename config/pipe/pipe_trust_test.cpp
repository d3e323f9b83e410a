#include "config/pipe/pipe_trust.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Con::Known;
using Con::PipeTrust;
using Sids = std::vector<const char*>;

constexpr char system_[] = "SY", administrators[] = "BA", everyone[] = "WD", users[] = "BU", localService[] = "LS",
               networkService[] = "NS", creatorRights[] = "S-1-3-4", me[] = "S-1-5-21-1-2-3-1001",
               other[] = "S-1-5-21-1-2-3-1002", serviceSid[] = "S-1-5-80-1-2-3-4-5",
               trustedInstaller[] = "S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

identity::Sid sid(const std::string& text)
{
    return text.empty() ? identity::Sid() : identity::Sid::parse({text.begin(), text.end()});
}

struct Row
{
    const char* name;
    const char* owner; // null: the system does not answer; empty: it names none
    PipeTrust trust;
    Known callerIsAdministrator = Known::yes;
    std::vector<DWORD> services = {};
    Known imageOfPanel = Known::yes;
    Known runsAsOwner = Known::yes;
    Known serverIsAdministrator = Known::no;
    std::optional<Sids> creators = Sids{"SY", "BA", trustedInstaller};
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

/// Facts of a row; counts the questions about services.
struct RowFacts : Con::IPipeServerFacts
{
    explicit RowFacts(const Row& row_) : row(row_) {}
    std::optional<identity::Sid> owner() override { return row.owner ? std::optional(sid(row.owner)) : std::nullopt; }
    identity::Sid caller() override { return sid(me); }
    Known isCallerAdministrator() override { return row.callerIsAdministrator; }
    std::vector<DWORD> serviceTypes() override
    {
        asksForServices = true;
        return row.services;
    }
    Known isImageOfPanel() override { return row.imageOfPanel; }
    Known runsAs(const identity::Sid& account) override
    {
        return account == sid(row.owner) ? row.runsAsOwner : Known::no;
    }
    Known isServerAdministrator() override { return row.serverIsAdministrator; }
    std::optional<std::vector<identity::Sid>> instanceCreators() override
    {
        if (!row.creators)
            return std::nullopt;
        return std::vector<identity::Sid>(sids.begin(), sids.end());
    }

    const Row& row;
    bool asksForServices = false;
    std::vector<identity::Sid> sids = [this] {
        std::vector<identity::Sid> all;
        for (const char* text : row.creators.value_or(Sids{}))
            all.push_back(sid(text));
        return all;
    }();
};

class PipeTrustTable : public testing::TestWithParam<Row>
{
};

constexpr DWORD own = 0x10, shared = 0x20, perUser = 0x50, perUserInstance = 0x90; // one bit each
constexpr Known yes = Known::yes, no = Known::no, unknown = Known::unknown;
constexpr PipeTrust trusted = PipeTrust::trusted, refused = PipeTrust::refused, ifConfirmed = PipeTrust::ifConfirmed;

} // namespace

TEST_P(PipeTrustTable, Decides)
{
    RowFacts facts(GetParam());
    EXPECT_EQ(GetParam().trust, decidePipeTrust(facts));
    const bool ownerDecides = GetParam().owner == system_ || GetParam().owner == administrators;
    EXPECT_FALSE(facts.asksForServices && ownerDecides);
}

INSTANTIATE_TEST_SUITE_P(Of, PipeTrustTable,
    testing::Values(
        // The owner decides, whatever the server's process.
        Row{"System", system_, trusted, yes, {}, no, no}, Row{"Administrators", administrators, trusted, yes, {}, no},
        Row{"TrustedInstaller", trustedInstaller, trusted}, Row{"SystemForUnelevated", system_, trusted, no},
        Row{"OwnerUnanswered", nullptr, refused, yes, {own}, yes, yes, yes},
        Row{"Everyone", everyone, refused, yes, {}, yes, yes, yes},
        Row{"Users", users, refused, yes, {}, yes, yes, yes}, Row{"Stranger", other, refused, no},
        // A service of the panel under an account of its own.
        Row{"PanelService", localService, trusted, yes, {own}},
        Row{"PanelServiceInASharedProcess", networkService, trusted, yes, {perUser, shared}},
        Row{"PanelServiceByServiceSid", serviceSid, trusted, yes, {own}},
        Row{"PanelServiceForUnelevated", localService, trusted, no, {own}},
        Row{"NoService", localService, refused, yes, {}},
        Row{"PerUserService", me, refused, yes, {perUser, perUserInstance}},
        Row{"ServiceOfAnotherProduct", localService, refused, yes, {own}, no},
        Row{"ServiceWithUnknownImage", localService, refused, yes, {own}, unknown},
        Row{"ServiceUnderAnotherAccount", localService, refused, yes, {own}, yes, no},
        Row{"ServiceUnderUnknownAccount", localService, refused, yes, {own}, yes, unknown},
        // The caller's own server.
        Row{"OwnForUnelevated", me, trusted, no},
        Row{"LesserServerOfTheSameUser", me, refused, yes, {}, yes, yes, yes},
        Row{"OwnForUnknownCaller", me, refused, unknown},
        // No owner named: the process decides, and there is no access list.
        Row{"NoOwnerAdministrator", "", trusted, yes, {}, no, no, yes, std::nullopt},
        Row{"NoOwnerStranger", "", refused, no, {own}},
        Row{"NoOwnerUnknown", "", refused, yes, {}, yes, yes, unknown},
        // Who else may create instances.
        Row{"UsersMayWrite", system_, ifConfirmed, yes, {}, no, no, no, Sids{system_, users}},
        Row{"EveryoneMayWrite", administrators, ifConfirmed, yes, {}, no, no, no, Sids{everyone}},
        Row{"UsersMayWriteForUnelevated", system_, trusted, no, {}, no, no, no, Sids{users}},
        Row{"UsersMayWriteForUnknownCaller", system_, ifConfirmed, unknown, {}, no, no, no, Sids{users}},
        Row{"CallerMayWrite", administrators, ifConfirmed, yes, {}, no, no, no, Sids{administrators, me}},
        Row{"ListUnreadable", system_, ifConfirmed, yes, {}, no, no, no, std::nullopt},
        Row{"OwnerMayWrite", localService, trusted, yes, {own}, yes, yes, no, Sids{localService, creatorRights}},
        Row{"AnotherServiceMayWrite", localService, ifConfirmed, yes, {own}, yes, yes, no,
            Sids{localService, networkService}},
        Row{"ListDoesNotMendTheOwner", everyone, refused, yes, {}, no, no, no, Sids{system_}}),
    [](const auto& row) { return std::string(row.param.name); });
