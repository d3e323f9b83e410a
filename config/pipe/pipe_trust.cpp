#include "config/pipe/pipe_trust.h"

#include <algorithm>

namespace Con {

namespace {

/// A service of the machine, not one that the system starts for each user.
bool isMachineService(DWORD type) noexcept
{
    constexpr DWORD userService = 0x40, userServiceInstance = 0x80;
    return (type & (userService | userServiceInstance)) == 0;
}

bool isPanelService(IPipeServerFacts& facts, const identity::Sid& owner)
{
    const std::vector<DWORD> types = facts.serviceTypes();
    return std::any_of(types.begin(), types.end(), isMachineService) && facts.isImageOfPanel() == Known::yes &&
           facts.runsAs(owner) == Known::yes;
}

bool isOwnerTrusted(IPipeServerFacts& facts, const identity::Sid& owner)
{
    if (identity::isSystemAuthority(owner) || isPanelService(facts, owner))
        return true;
    // A process of the same user without elevation must not direct an administrator's run.
    return facts.caller() == owner && facts.isCallerAdministrator() == Known::no;
}

/// Whether identities that are not trusted may add an instance to the pipe, and so answer in the owner's place.
bool mayOthersAnswer(IPipeServerFacts& facts, const identity::Sid& owner)
{
    const auto creators = facts.instanceCreators();
    if (!creators)
        return true;
    const identity::Sid ownerRights = identity::Sid::wellKnown(WinCreatorOwnerRightsSid);
    return !std::all_of(creators->begin(), creators->end(), [&](const identity::Sid& creator) {
        return creator == owner || creator == ownerRights || identity::isSystemAuthority(creator);
    });
}

} // namespace

PipeTrust decidePipeTrust(IPipeServerFacts& facts)
{
    const std::optional<identity::Sid> owner = facts.owner();
    if (!owner)
        return PipeTrust::refused;
    // Wine names no owner for a pipe without a descriptor, and has no access list for it. Windows always names one.
    if (!*owner)
        return facts.isServerAdministrator() == Known::yes ? PipeTrust::trusted : PipeTrust::refused;
    if (!isOwnerTrusted(facts, *owner))
        return PipeTrust::refused;
    if (mayOthersAnswer(facts, *owner) && facts.isCallerAdministrator() != Known::no)
        return PipeTrust::ifConfirmed;
    return PipeTrust::trusted;
}

} // namespace Con
