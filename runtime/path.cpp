#include "runtime/path.h"

#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"
#include "runtime/late/late_imports.h"
#include "runtime/text/letter_case.h"

#include <algorithm>
#include <cwchar>

std::wstring path::combine(const std::wstring& directory, const std::wstring& name)
{
    wchar_t* combined = nullptr;
    const HRESULT result =
        late::PathAllocCombine(directory.c_str(), name.c_str(), PATHCCH_ALLOW_LONG_PATHS, &combined);
    const UniqueLocalMemory owner(combined);
    if (FAILED(result)) {
        throwOsError(
            HRESULT_CODE(result), L"PathAllocCombine '" + directory + L"' '" + name + L"'", {"path::combine"});
    }
    return combined;
}

std::wstring path::append(const std::wstring& directory, std::wstring_view name)
{
    std::wstring joined = directory;
    if (!joined.ends_with(L'\\'))
        joined += L'\\';
    return joined.append(name);
}

std::wstring path::normalise(std::wstring path)
{
    std::replace(path.begin(), path.end(), L'/', L'\\');
    if (path.empty())
        return path;
    constexpr std::wstring_view device = L"\\\\.\\", literal = L"\\\\?\\";
    if (path.starts_with(device) && isAbsolute(std::wstring_view(path).substr(device.size())))
        path.replace(0, device.size(), literal);
    // A ".." behind a doubled separator would remove the empty name between the two.
    const std::size_t prefix = path.starts_with(literal) ? literal.size() : path.starts_with(L"\\\\") ? 2 : 0;
    const auto isDoubled = [](wchar_t left, wchar_t right) { return left == L'\\' && right == L'\\'; };
    const auto start = path.begin() + static_cast<std::ptrdiff_t>(prefix);
    path.erase(std::unique(start, path.end(), isDoubled), path.end());
    wchar_t* canonical = nullptr;
    const HRESULT result = late::PathAllocCanonicalize(path.c_str(), PATHCCH_ALLOW_LONG_PATHS, &canonical);
    const UniqueLocalMemory owner(canonical);
    if (FAILED(result))
        throwOsError(HRESULT_CODE(result), L"PathAllocCanonicalize '" + path + L"'", {"path::normalise"});
    return canonical;
}

bool path::isAbsolute(std::wstring_view path) noexcept
{
    return path.starts_with(L"\\\\") || (path.size() > 2 && path[1] == L':' && path[2] == L'\\');
}

bool path::isFile(const std::wstring& path) noexcept
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring path::root(const std::wstring& path)
{
    std::wstring buffer = path;
    if (buffer.starts_with(L"\\\\?\\UNC\\")) // PathStripToRoot fails for \\?\ paths
        buffer.replace(0, 7, L"\\");
    else if (buffer.starts_with(L"\\\\?\\"))
        buffer.erase(0, 4);
    // The trail's name "VFileName::root" is part of the interface with the panel's log readers.
    if (!late::PathStripToRootW(buffer.data()))
        throw vexception(L"Unable to find the root of path (" + path + L")", {"VFileName::root"});
    buffer.resize(wcsnlen(buffer.c_str(), buffer.size()));
    if (!buffer.ends_with(L'\\')) // the root of a share lacks it; GetDiskFreeSpaceEx needs it
        buffer += L'\\';
    return buffer;
}

bool path::hasExtension(std::wstring_view path, std::wstring_view extension)
{
    return path.size() >= extension.size() &&
           equalIgnoringCase(path.substr(path.size() - extension.size()), extension);
}

std::wstring_view path::fileTitle(std::wstring_view path) noexcept
{
    path.remove_prefix(path.find_last_of(L"\\/:") + 1); // npos + 1 is 0
    return path.substr(0, path.rfind(L'.'));
}
