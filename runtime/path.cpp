#include "runtime/path.h"

#include "runtime/handles.h"
#include "runtime/vosexception.h"

#include <pathcch.h>

std::wstring path::combine(const std::wstring& directory, const std::wstring& name)
{
    wchar_t* combined = nullptr;
    const HRESULT result =
        PathAllocCombine(directory.c_str(), name.c_str(), PATHCCH_ALLOW_LONG_PATHS, &combined);
    const UniqueLocalMemory owner(combined);
    if (FAILED(result)) {
        throwOsError(HRESULT_CODE(result), L"PathAllocCombine '" + directory + L"' '" + name + L"'",
            {"path::combine"});
    }
    return combined;
}

std::wstring_view path::fileTitle(std::wstring_view path) noexcept
{
    path.remove_prefix(path.find_last_of(L"\\/:") + 1); // npos + 1 is 0
    return path.substr(0, path.rfind(L'.'));
}
