#include "system/cleaning/needed_directories.h"

#include "runtime/handle/handles.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "runtime/text/letter_case.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace {

/// The location of an open directory in long names and upper case, with a backslash at its end. Without
/// FILE_NAME_NORMALIZED a directory opened by a short name ("PROGRA~1") has the short name in its location.
DWORD finalLocation(HANDLE directory, std::wstring& location)
{
    wchar_t buffer[0x8000];
    const DWORD length =
        GetFinalPathNameByHandleW(directory, buffer, std::size(buffer), FILE_NAME_NORMALIZED | VOLUME_NAME_NT);
    if (length == 0 || length >= std::size(buffer))
        return length == 0 ? GetLastError() : DWORD{ERROR_FILENAME_EXCED_RANGE};
    location = path::append(upperCase(std::wstring(buffer, length)), L""); // with a separator at its end
    return ERROR_SUCCESS;
}

/// The locations of the system directory and of this program's directory.
DWORD findNeeded(std::vector<std::wstring>& locations)
{
    wchar_t system[MAX_PATH] = L"";
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring program = moduleFileName();
    std::vector<std::wstring> found;
    for (const std::wstring& path : {std::wstring(system), program.substr(0, program.rfind(L'\\') + 1)}) {
        const UniqueFile directory(
            CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        const DWORD code = directory ? finalLocation(directory.get(), found.emplace_back()) : GetLastError();
        if (code != ERROR_SUCCESS)
            return code;
    }
    locations = std::move(found);
    return ERROR_SUCCESS;
}

} // namespace

DWORD refuseNeeded(HANDLE directory)
{
    static std::vector<std::wstring> needed;
    DWORD code = needed.empty() ? findNeeded(needed) : DWORD{ERROR_SUCCESS};
    std::wstring location;
    if (code == ERROR_SUCCESS)
        code = finalLocation(directory, location);
    const auto isIn = [&](const std::wstring& place) { return place.starts_with(location); };
    return code == ERROR_SUCCESS && std::any_of(needed.begin(), needed.end(), isIn) ? DWORD{ERROR_CURRENT_DIRECTORY}
                                                                                    : code;
}
