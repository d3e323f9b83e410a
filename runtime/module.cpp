#include "runtime/module.h"

#include "runtime/failure/vosexception.h"
#include "runtime/path.h"

#include <windows.h>

std::wstring moduleFileName()
{
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
        // The trail's name "moduleName" is part of the interface with the panel's log readers.
        if (length == 0)
            throwLastError({L"GetModuleFileName"}, {"moduleName"});
        if (length < name.size()) { // a full buffer holds a truncated name
            name.resize(length);
            return name;
        }
        name.resize(name.size() * 2);
    }
}

std::wstring moduleTitle()
{
    return std::wstring(path::fileTitle(moduleFileName()));
}
