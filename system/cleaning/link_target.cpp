#include "system/cleaning/link_target.h"

#include <winioctl.h>

#include <cstddef>
#include <vector>

namespace {

/// The reparse data of symbolic links and mount points (junctions).
struct LinkData
{
    DWORD tag;
    WORD length; // bytes after the field `reserved`
    WORD reserved;
    WORD targetOffset, targetLength; // bytes; offsets count from the end of the fixed fields
    WORD shownOffset, shownLength;
    DWORD symbolicLinkFlags; // only in symbolic links
};
constexpr std::size_t mountPointSize = offsetof(LinkData, symbolicLinkFlags);
constexpr DWORD relativeFlag = 1;

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
    if (!isSymbolicLink && data.tag != IO_REPARSE_TAG_MOUNT_POINT)
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
