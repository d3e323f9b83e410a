#pragma once

#include <windows.h>

#include <string>

// What proof/prove.exe tells the tests, by environment variables. Under ctest none of them is set.
namespace kit {

/// The value of an environment variable; empty when it is not set.
inline std::wstring variable(const wchar_t* name)
{
    wchar_t value[512];
    const DWORD length = GetEnvironmentVariableW(name, value, 512);
    return length < 512 ? std::wstring(value, length) : std::wstring();
}

/// The drive of the kit's own disk, like "V:": the only volume on which directories may be cleaned. Empty without
/// one.
inline std::wstring drive()
{
    return variable(L"MENDKIT_PROOF_DRIVE");
}

/// A second volume of that disk, without a drive letter and without a mount point: "\\?\Volume{...}\".
inline std::wstring bareVolume()
{
    return variable(L"MENDKIT_PROOF_BARE_VOLUME");
}

/// The name of the kit's own account, an ordinary user, and its password.
inline std::wstring account()
{
    return variable(L"MENDKIT_PROOF_ACCOUNT");
}
inline std::wstring password()
{
    return variable(L"MENDKIT_PROOF_PASSWORD");
}

/// Whether the machine's own Windows\Temp may be emptied.
inline bool mayEmptyWindowsTemp()
{
    return !variable(L"MENDKIT_PROOF_EMPTY_WINDOWS_TEMP").empty();
}

/// Whether prove.exe has started this process.
inline bool isRunning()
{
    return !variable(L"MENDKIT_PROOF").empty();
}

inline bool isWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace kit

/// Skips a test that Wine cannot run. @param reason  what Wine lacks
#define SKIP_UNDER_WINE(reason)                                                                                      \
    if (kit::isWine())                                                                                               \
    GTEST_SKIP() << "Wine: " << reason
