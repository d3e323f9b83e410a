#pragma once

#include "runtime/identity.h"

#include <optional>
#include <vector>

namespace identity {

/// The identities to which an access-control list grants at least one of the rights. Denying entries are ignored: the
/// result may name too many identities, never too few. A null list grants every right to Everyone.
/// @return empty optional: the list cannot be read, or holds an entry of an unknown kind
/// @throws vosexception "CreateWellKnownSid"
std::optional<std::vector<Sid>> granted(PACL list, DWORD rights);

} // namespace identity
