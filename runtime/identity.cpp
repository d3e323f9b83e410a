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

PSID Sid::get() const noexcept
{
    return bytes_.empty() ? nullptr : const_cast<BYTE*>(bytes_.data()); // PSID is not const
}

bool Sid::operator==(const Sid& other) const noexcept
{
    return bytes_ == other.bytes_; // equal identifiers have equal bytes
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

/// One kind of information about a token. The buffer is aligned for every record.
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

bool isAdministrator(HANDLE token)
{
    const Sid administrators = Sid::wellKnown(WinBuiltinAdministratorsSid);
    // Not CheckTokenMembership: it takes an impersonation token, and the right to duplicate the token may be missing.
    const std::vector<BYTE> buffer = informationOf(token, TokenGroups, {"identity::isAdministrator"});
    const auto& groups = *reinterpret_cast<const TOKEN_GROUPS*>(buffer.data());
    return std::any_of(groups.Groups, groups.Groups + groups.GroupCount, [&](const SID_AND_ATTRIBUTES& group) {
        return (group.Attributes & SE_GROUP_ENABLED) != 0 && (group.Attributes & SE_GROUP_USE_FOR_DENY_ONLY) == 0 &&
               Sid(group.Sid) == administrators;
    });
}

bool isSystemOrAdministrators(const Sid& sid)
{
    return sid == Sid::wellKnown(WinLocalSystemSid) || sid == Sid::wellKnown(WinBuiltinAdministratorsSid);
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
