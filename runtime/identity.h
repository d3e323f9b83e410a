#pragma once

#include "runtime/handle/handles.h"

#include <string>
#include <vector>

/// Who somebody is: security identifiers, tokens and groups.
namespace identity {

/// A security identifier in memory of its own; empty for none.
class Sid
{
public:
    Sid() = default;
    /// Copies it; null gives an empty one.
    explicit Sid(PSID sid);
    static Sid wellKnown(WELL_KNOWN_SID_TYPE type);

    explicit operator bool() const noexcept { return !bytes_.empty(); }
    PSID get() const noexcept;
    bool operator==(const Sid& other) const noexcept;
    /// "S-1-5-...", as security descriptors are written. @throws vosexception "ConvertSidToStringSid"
    std::wstring text() const;

private:
    std::vector<BYTE> bytes_;
};

/// The user of a token (opened with TOKEN_QUERY). @throws vosexception "GetTokenInformation"
Sid userOf(HANDLE token);

/// The user whom the calling thread acts as. @throws vosexception
Sid currentUser();

/// Whether the token, primary or impersonating (opened with TOKEN_QUERY), holds the enabled group of administrators.
/// @throws vosexception "GetTokenInformation"
bool isAdministrator(HANDLE token);

/// Whether it is SYSTEM or the group of administrators. @throws vosexception "CreateWellKnownSid"
bool isSystemOrAdministrators(const Sid& sid);

/// The token that the calling thread acts under: its own, else the process's. @throws vosexception
UniqueHandle effectiveToken(DWORD rights);

/// The token of a process. @throws vosexception "OpenProcessToken"
UniqueHandle tokenOf(HANDLE process, DWORD rights);

} // namespace identity
