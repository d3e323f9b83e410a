#pragma once

#include "runtime/handle/handles.h"
#include "runtime/text/format.h"
#include "test/replaced_import.h"

#include <sddl.h>

#include <string>

/// Records how this program opens files during its lifetime.
class FileOpens
{
public:
    /// "access sharing disposition flags", hexadecimal, of the last open whose path begins so. Behind them owner and
    /// access list, if it has any.
    static std::wstring of(const std::wstring& path)
    {
        const std::size_t at = all.rfind(L"\n" + path);
        const std::size_t begin = at == std::wstring::npos ? all.size() : all.find(L'|', at) + 1;
        return all.substr(begin, all.find(L'\n', begin) - begin);
    }

private:
    static HANDLE WINAPI open(const wchar_t* path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* security,
        DWORD disposition, DWORD flags, HANDLE model)
    {
        all += formatString(L"\n%s|%lx %lx %lx %lx", path, access, sharing, disposition, flags);
        wchar_t* text = nullptr;
        if (security && security->lpSecurityDescriptor &&
            ConvertSecurityDescriptorToStringSecurityDescriptorW(security->lpSecurityDescriptor, SDDL_REVISION_1,
                OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &text, nullptr))
            all += L" " + std::wstring(text);
        const UniqueLocalMemory memory(text);
        return system_(path, access, sharing, security, disposition, flags, model);
    }

    // Found by name, because the import is replaced.
    inline static const auto system_ = reinterpret_cast<decltype(&CreateFileW)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "CreateFileW")));
    inline static std::wstring all;
    const ReplacedImport open_{"CreateFileW", open};
};
