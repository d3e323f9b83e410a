#include "system/cleaning/reparse_point.h"

#include "runtime/handle/handles.h"
#include "runtime/identity.h"

#include <aclapi.h>
#include <sddl.h>
#include <winioctl.h>

#include <cstddef>
#include <vector>

namespace {

/// The data of symbolic links and mount points (junctions) as the file system keeps them.
struct LinkData
{
    DWORD tag;
    WORD length; // of all that follows the next field
    WORD reserved;
    WORD targetOffset, targetLength; // bytes, from the end of the fixed part
    WORD shownOffset, shownLength;
    DWORD symbolicLinkFlags; // for symbolic links alone
};
constexpr std::size_t mountPointSize = offsetof(LinkData, symbolicLinkFlags);
constexpr DWORD relativeFlag = 1;

bool isMachineOrInstaller(const identity::Sid& sid)
{
    if (identity::isMachine(sid))
        return true;
    PSID installer = nullptr;
    ConvertStringSidToSidW(L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", &installer);
    const UniqueLocalMemory memory(installer);
    return installer && sid == identity::Sid(installer);
}

/// Whether the list lets somebody who is not the machine change the object.
bool mayOthersChange(PACL list)
{
    constexpr DWORD changing = FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE |
                               GENERIC_ALL | MAXIMUM_ALLOWED;
    if (!list) // no list: everybody has every right
        return true;
    ACE_HEADER* entry = nullptr;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        if (!GetAce(list, index, reinterpret_cast<void**>(&entry)))
            return true;
        if ((entry->AceFlags & INHERIT_ONLY_ACE) != 0 || entry->AceType == ACCESS_DENIED_ACE_TYPE)
            continue;
        if (entry->AceType != ACCESS_ALLOWED_ACE_TYPE)
            return true; // files have no other kind but conditional ones
        const auto& allowed = *reinterpret_cast<ACCESS_ALLOWED_ACE*>(entry);
        auto* const sid = reinterpret_cast<PSID>(const_cast<DWORD*>(&allowed.SidStart));
        if ((allowed.Mask & changing) != 0 && !isMachineOrInstaller(identity::Sid(sid)))
            return true;
    }
    return false;
}

} // namespace

DWORD linkTarget(HANDLE link, std::wstring& target)
{
    std::vector<BYTE> buffer(MAXIMUM_REPARSE_DATA_BUFFER_SIZE);
    DWORD size = 0;
    if (!DeviceIoControl(link, FSCTL_GET_REPARSE_POINT, nullptr, 0, buffer.data(), static_cast<DWORD>(buffer.size()),
            &size, nullptr))
        return GetLastError();
    const auto& data = *reinterpret_cast<const LinkData*>(buffer.data());
    const bool isSymbolicLink = size >= sizeof data && data.tag == IO_REPARSE_TAG_SYMLINK;
    if (!isSymbolicLink && (size < mountPointSize || data.tag != IO_REPARSE_TAG_MOUNT_POINT))
        return ERROR_REPARSE_TAG_INVALID;
    const std::size_t start = (isSymbolicLink ? sizeof data : mountPointSize) + data.targetOffset;
    if (start + data.targetLength > size)
        return ERROR_INVALID_REPARSE_DATA;
    target.assign(reinterpret_cast<const wchar_t*>(buffer.data() + start), data.targetLength / sizeof(wchar_t));
    if (isSymbolicLink && (data.symbolicLinkFlags & relativeFlag) != 0)
        return ERROR_SUCCESS;
    if (!target.starts_with(L"\\??\\"))
        return ERROR_INVALID_REPARSE_DATA;
    target[1] = L'\\';
    return ERROR_SUCCESS;
}

bool isLinkOfMachine(HANDLE link) noexcept
{
    try {
        PSID owner = nullptr;
        PACL list = nullptr;
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        const DWORD status = GetSecurityInfo(link, SE_FILE_OBJECT,
            OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr, &list, nullptr, &descriptor);
        const UniqueLocalMemory memory(descriptor);
        return status == ERROR_SUCCESS && owner && isMachineOrInstaller(identity::Sid(owner)) &&
               !mayOthersChange(list);
    } catch (...) {
        return false;
    }
}
