#pragma once

#include "runtime/handle/handles.h"

#include <string>
#include <vector>

/// Security identifiers, tokens and groups.
namespace identity {

/// A security identifier; owns its memory. An empty one identifies no account.
class Sid
{
public:
    Sid() = default;
    /// @param sid  copied; null makes an empty one
    explicit Sid(PSID sid);
    /// @throws vosexception "CreateWellKnownSid"
    static Sid wellKnown(WELL_KNOWN_SID_TYPE type);
    /// @param text  "S-1-5-..." @throws vosexception "ConvertStringSidToSid"
    static Sid parse(const std::wstring& text);

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

/// The user of the calling thread's effective token. @throws vosexception
Sid currentUser();

/// Whether the token (opened with TOKEN_QUERY, primary or impersonation) holds the group as an enabled one.
/// @throws vosexception "GetTokenInformation"
bool hasGroup(HANDLE token, const Sid& group);

/// Whether the token holds the enabled group of administrators. @throws vosexception "GetTokenInformation"
bool isAdministrator(HANDLE token);

/// Whether the identifier is SYSTEM, the group of administrators or TrustedInstaller. @throws vosexception
bool isSystemAuthority(const Sid& sid);

/// The thread's impersonation token; without one, the process's token. @throws vosexception
UniqueHandle effectiveToken(DWORD rights);

/// The token of a process. @throws vosexception "OpenProcessToken"
UniqueHandle tokenOf(HANDLE process, DWORD rights);

} // namespace identity
