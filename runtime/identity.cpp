#include "runtime/identity.h"

#include "runtime/vosexception.h"

#include <sddl.h>

namespace identity {

Sid::Sid(PSID sid)
{
    if (!sid)
        return;
    bytes_.resize(GetLengthSid(sid));
    CopySid(static_cast<DWORD>(bytes_.size()), bytes_.data(), sid);
}

Sid Sid::wellKnown(WELL_KNOWN_SID_TYPE type)
{
    Sid sid;
    DWORD size = SECURITY_MAX_SID_SIZE;
    sid.bytes_.resize(size);
    if (!CreateWellKnownSid(type, nullptr, sid.bytes_.data(), &size))
        throwOsError(GetLastError(), L"CreateWellKnownSid", {"identity::Sid::wellKnown"});
    sid.bytes_.resize(size);
    return sid;
}

PSID Sid::get() const noexcept
{
    return bytes_.empty() ? nullptr : const_cast<BYTE*>(bytes_.data()); // the system's type knows no const
}

bool Sid::operator==(const Sid& other) const noexcept
{
    return bytes_ == other.bytes_; // identifiers have one form only
}

std::wstring Sid::text() const
{
    wchar_t* text = nullptr;
    if (!ConvertSidToStringSidW(get(), &text))
        throwOsError(GetLastError(), L"ConvertSidToStringSid", {"identity::Sid::text"});
    const UniqueLocalMemory owner(text);
    return text;
}

Sid userOf(HANDLE token)
{
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    if (!GetTokenInformation(token, TokenUser, buffer.data(), size, &size))
        throwOsError(GetLastError(), L"GetTokenInformation", {"identity::userOf"});
    return Sid(reinterpret_cast<const TOKEN_USER*>(buffer.data())->User.Sid);
}

bool isAdministrator(HANDLE token)
{
    // The membership test takes impersonation tokens only.
    UniqueHandle copy;
    if (!DuplicateToken(token, SecurityIdentification, copy.receive()))
        throwOsError(GetLastError(), L"DuplicateToken", {"identity::isAdministrator"});
    BOOL member = FALSE;
    if (!CheckTokenMembership(copy.get(), Sid::wellKnown(WinBuiltinAdministratorsSid).get(), &member))
        throwOsError(GetLastError(), L"CheckTokenMembership", {"identity::isAdministrator"});
    return member != FALSE;
}

UniqueHandle effectiveToken(DWORD rights)
{
    UniqueHandle token;
    if (OpenThreadToken(GetCurrentThread(), rights, TRUE, token.receive()))
        return token;
    const DWORD code = GetLastError();
    if (code != ERROR_NO_TOKEN)
        throwOsError(code, L"OpenThreadToken", {"identity::effectiveToken"});
    return tokenOf(GetCurrentProcess(), rights);
}

UniqueHandle tokenOf(HANDLE process, DWORD rights)
{
    UniqueHandle token;
    if (!OpenProcessToken(process, rights, token.receive()))
        throwOsError(GetLastError(), L"OpenProcessToken", {"identity::tokenOf"});
    return token;
}

} // namespace identity
