#pragma once

#include <cstdlib>
#include <string>

/// The installation directory of the stand-in. proof/prove.exe names the drive that it uses instead of the system's.
inline std::wstring panelRoot()
{
    const wchar_t* const drive = _wgetenv(L"MENDKIT_PROOF_DRIVE");
    return (drive ? std::wstring(drive) : L"C:\\Program Files") + L"\\Kelvo Panel";
}
