#include "system/cleaning/link_trust.h"

#include "runtime/handle/handles.h"
#include "runtime/identity.h"

#include <aclapi.h>
#include <sddl.h>

namespace {

bool isTrustedOwner(const identity::Sid& sid)
{
    if (identity::isSystemOrAdministrators(sid))
        return true;
    PSID installer = nullptr; // NT SERVICE\TrustedInstaller
    ConvertStringSidToSidW(L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", &installer);
    const UniqueLocalMemory memory(installer);
    return installer && sid == identity::Sid(installer);
}

/// Whether the access list lets an untrusted account change the object.
bool mayOthersChange(PACL list)
{
    constexpr DWORD changing = FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES | DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE |
                               GENERIC_ALL | MAXIMUM_ALLOWED;
    if (!list) // no access list grants all rights to every account
        return true;
    ACE_HEADER* entry = nullptr;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        if (!GetAce(list, index, reinterpret_cast<void**>(&entry)))
            return true;
        if ((entry->AceFlags & INHERIT_ONLY_ACE) != 0 || entry->AceType == ACCESS_DENIED_ACE_TYPE)
            continue;
        if (entry->AceType != ACCESS_ALLOWED_ACE_TYPE)
            return true; // such as a conditional entry, whose condition is not evaluated here
        const auto& allowed = *reinterpret_cast<ACCESS_ALLOWED_ACE*>(entry);
        auto* const sid = reinterpret_cast<PSID>(const_cast<DWORD*>(&allowed.SidStart));
        if ((allowed.Mask & changing) != 0 && !isTrustedOwner(identity::Sid(sid)))
            return true;
    }
    return false;
}

} // namespace

bool isLinkTrusted(HANDLE link) noexcept
{
    try {
        PSID owner = nullptr;
        PACL list = nullptr;
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        const DWORD status = GetSecurityInfo(link, SE_FILE_OBJECT,
            OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr, &list, nullptr, &descriptor);
        const UniqueLocalMemory memory(descriptor);
        return status == ERROR_SUCCESS && owner && isTrustedOwner(identity::Sid(owner)) && !mayOthersChange(list);
    } catch (...) {
        return false;
    }
}
