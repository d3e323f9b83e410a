#include "runtime/identity.h"

#include "runtime/failure/vosexception.h"

#include <sddl.h>

#include <algorithm>

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
        throwLastError({L"CreateWellKnownSid"}, {"identity::Sid::wellKnown"});
    sid.bytes_.resize(size);
    return sid;
}

Sid Sid::parse(const std::wstring& text)
{
    PSID sid = nullptr;
    if (!ConvertStringSidToSidW(text.c_str(), &sid))
        throwLastError({L"ConvertStringSidToSid '", text, L"'"}, {"identity::Sid::parse"});
    const UniqueLocalMemory owner(sid);
    return Sid(sid);
}

PSID Sid::get() const noexcept
{
    return bytes_.empty() ? nullptr : const_cast<BYTE*>(bytes_.data()); // PSID has no const form
}

bool Sid::operator==(const Sid& other) const noexcept
{
    return bytes_ == other.bytes_; // an identifier has one binary form
}

std::wstring Sid::text() const
{
    wchar_t* text = nullptr;
    if (!ConvertSidToStringSidW(get(), &text))
        throwLastError({L"ConvertSidToStringSid"}, {"identity::Sid::text"});
    const UniqueLocalMemory owner(text);
    return text;
}

namespace {

/// A record of the token. The memory of a vector is aligned for every record.
std::vector<BYTE> informationOf(HANDLE token, TOKEN_INFORMATION_CLASS kind, RaiseSite site)
{
    DWORD size = 0;
    GetTokenInformation(token, kind, nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    if (!GetTokenInformation(token, kind, buffer.data(), size, &size))
        throwLastError({L"GetTokenInformation"}, site);
    return buffer;
}

} // namespace

Sid userOf(HANDLE token)
{
    const std::vector<BYTE> buffer = informationOf(token, TokenUser, {"identity::userOf"});
    return Sid(reinterpret_cast<const TOKEN_USER*>(buffer.data())->User.Sid);
}

Sid currentUser()
{
    return userOf(effectiveToken(TOKEN_QUERY).get());
}

bool hasGroup(HANDLE token, const Sid& group)
{
    // CheckTokenMembership would need a duplicate of a primary token, which may be denied.
    const std::vector<BYTE> buffer = informationOf(token, TokenGroups, {"identity::hasGroup"});
    const auto& groups = *reinterpret_cast<const TOKEN_GROUPS*>(buffer.data());
    return std::any_of(groups.Groups, groups.Groups + groups.GroupCount, [&](const SID_AND_ATTRIBUTES& held) {
        return (held.Attributes & SE_GROUP_ENABLED) != 0 && (held.Attributes & SE_GROUP_USE_FOR_DENY_ONLY) == 0 &&
               Sid(held.Sid) == group;
    });
}

bool isAdministrator(HANDLE token)
{
    return hasGroup(token, Sid::wellKnown(WinBuiltinAdministratorsSid));
}

bool isSystemAuthority(const Sid& sid)
{
    constexpr wchar_t trustedInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";
    return sid == Sid::wellKnown(WinLocalSystemSid) || sid == Sid::wellKnown(WinBuiltinAdministratorsSid) ||
           sid == Sid::parse(trustedInstaller);
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
        throwLastError({L"OpenProcessToken"}, {"identity::tokenOf"});
    return token;
}

} // namespace identity
