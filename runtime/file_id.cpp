#include "runtime/file_id.h"

#include <cstring>

namespace {

bool hasFull(const FileId& id) noexcept
{
    constexpr FILE_ID_INFO none{};
    return std::memcmp(&id.full, &none, sizeof none) != 0;
}

bool isFullSame(const FileId& left, const FileId& right) noexcept
{
    return hasFull(left) && left.full.VolumeSerialNumber == right.full.VolumeSerialNumber &&
           std::memcmp(&left.full.FileId, &right.full.FileId, sizeof left.full.FileId) == 0;
}

bool isShortSame(const FileId& left, const FileId& right) noexcept
{
    return left.index != 0 && left.index == right.index && left.volume == right.volume;
}

} // namespace

DWORD fileIdOf(HANDLE file, FileId& id) noexcept
{
    id = {};
    if (!GetFileInformationByHandleEx(file, FileIdInfo, &id.full, sizeof id.full))
        id.full = {};
    BY_HANDLE_FILE_INFORMATION found;
    DWORD code = ERROR_SUCCESS;
    if (GetFileInformationByHandle(file, &found)) {
        constexpr std::uint64_t noIndex = ~0ULL; // of an identifier that is longer than 64 bits
        const std::uint64_t index = std::uint64_t{found.nFileIndexHigh} << 32 | found.nFileIndexLow;
        id.volume = found.dwVolumeSerialNumber;
        id.index = index == noIndex ? 0 : index;
    } else {
        code = GetLastError();
    }
    if (hasFull(id) || id.index != 0)
        return ERROR_SUCCESS;
    return code == ERROR_SUCCESS ? DWORD{ERROR_NOT_SUPPORTED} : code;
}

bool isSame(const FileId& left, const FileId& right) noexcept
{
    return hasFull(left) && hasFull(right) ? isFullSame(left, right) : isShortSame(left, right);
}

bool mayBeSame(const FileId& left, const FileId& right) noexcept
{
    return isFullSame(left, right) || isShortSame(left, right);
}
