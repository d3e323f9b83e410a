#include "runtime/file_location.h"

#include "runtime/file_id.h"
#include "runtime/handle/handles.h"
#include "runtime/text/letter_case.h"

namespace {

UniqueFile openAny(const std::wstring& path) noexcept
{
    return UniqueFile(CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

enum class Comparison
{
    same,
    other,
    unknown
};

Comparison compare(const std::wstring& path, const std::wstring& otherPath) noexcept
{
    // Both stay open while they are compared: the identifier of a removed file may be used again.
    const UniqueFile file = openAny(path), other = openAny(otherPath);
    FileId left, right;
    if (!file || !other || fileIdOf(file.get(), left) != ERROR_SUCCESS ||
        fileIdOf(other.get(), right) != ERROR_SUCCESS)
        return Comparison::unknown;
    return isSame(left, right) ? Comparison::same : Comparison::other;
}

} // namespace

std::wstring location::of(const std::wstring& path)
{
    const UniqueFile file = openAny(path);
    if (!file)
        return {};
    std::wstring resolved(MAX_PATH, L'\0');
    for (;;) {
        const auto size = static_cast<DWORD>(resolved.size());
        const DWORD length =
            GetFinalPathNameByHandleW(file.get(), resolved.data(), size, FILE_NAME_NORMALIZED | VOLUME_NAME_NT);
        resolved.resize(length);
        if (length < size) // the size that is needed counts the terminator, the length does not
            return upperCase(resolved);
    }
}

bool location::isBelow(const std::wstring& location, const std::wstring& directory)
{
    return !directory.empty() && location.starts_with(directory.ends_with(L'\\') ? directory : directory + L'\\');
}

bool location::isSame(const std::wstring& path, const std::wstring& other) noexcept
{
    return compare(path, other) == Comparison::same;
}

bool location::isOther(const std::wstring& path, const std::wstring& other) noexcept
{
    return compare(path, other) == Comparison::other;
}
