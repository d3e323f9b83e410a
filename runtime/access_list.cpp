#include "runtime/access_list.h"

std::optional<std::vector<identity::Sid>> identity::granted(PACL list, DWORD rights)
{
    if (!list)
        return std::vector{Sid::wellKnown(WinWorldSid)};
    std::vector<Sid> identities;
    ACE_HEADER* entry = nullptr;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        if (!GetAce(list, index, reinterpret_cast<void**>(&entry)))
            return std::nullopt;
        if ((entry->AceFlags & INHERIT_ONLY_ACE) != 0 || entry->AceType == ACCESS_DENIED_ACE_TYPE)
            continue;
        if (entry->AceType != ACCESS_ALLOWED_ACE_TYPE)
            return std::nullopt;
        const auto& allowed = *reinterpret_cast<ACCESS_ALLOWED_ACE*>(entry);
        if ((allowed.Mask & rights) != 0)
            identities.emplace_back(reinterpret_cast<PSID>(const_cast<DWORD*>(&allowed.SidStart)));
    }
    return identities;
}
