#pragma once

#include "runtime/handle/handles.h"

#include <string>
#include <vector>

/// Security identifiers, tokens and groups.
namespace identity {

/// A copy of a security identifier; empty for none.
class Sid
{
public:
    Sid() = default;
    /// @param sid  copied; null makes an empty one
    explicit Sid(PSID sid);
    /// @throws vosexception "CreateWellKnownSid"
    static Sid wellKnown(WELL_KNOWN_SID_TYPE type);

    explicit operator bool() const noexcept { return !bytes_.empty(); }
    /// Null when empty.
    PSID get() const noexcept;
    bool operator==(const Sid& other) const noexcept;
    /// "S-1-5-...". @throws vosexception "ConvertSidToStringSid"
    std::wstring text() const;

private:
    std::vector<BYTE> bytes_;
};

/// The user of a token (opened with TOKEN_QUERY). @throws vosexception "GetTokenInformation"
Sid userOf(HANDLE token);

/// The user of effectiveToken(). @throws vosexception
Sid currentUser();

/// Whether the group of administrators is enabled in the token, primary or impersonation (opened with TOKEN_QUERY).
/// @throws vosexception "GetTokenInformation"
bool isAdministrator(HANDLE token);

/// Whether the identifier is SYSTEM or the group of administrators. @throws vosexception "CreateWellKnownSid"
bool isSystemOrAdministrators(const Sid& sid);

/// The calling thread's impersonation token; without one the process token.
/// @throws vosexception "OpenThreadToken", "OpenProcessToken"
UniqueHandle effectiveToken(DWORD rights);

/// The token of a process. @throws vosexception "OpenProcessToken"
UniqueHandle tokenOf(HANDLE process, DWORD rights);

} // namespace identity
