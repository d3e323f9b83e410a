#include "system/cleaning/link_trust.h"

#include "runtime/access_list.h"
#include "runtime/handle/handles.h"

#include <aclapi.h>

#include <algorithm>

namespace {

/// Whether the access list lets an untrusted account change the object.
bool mayOthersChange(PACL list)
{
    constexpr DWORD changing = FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES | DELETE | WRITE_DAC | WRITE_OWNER |
                               GENERIC_WRITE | GENERIC_ALL | MAXIMUM_ALLOWED;
    const auto changers = identity::granted(list, changing);
    return !changers || !std::all_of(changers->begin(), changers->end(), identity::isSystemAuthority);
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
        return status == ERROR_SUCCESS && identity::isSystemAuthority(identity::Sid(owner)) && !mayOthersChange(list);
    } catch (...) {
        return false;
    }
}
