#pragma once

#include "runtime/identity.h"

#include <optional>
#include <vector>

namespace Con {

/// How far a caller may believe the server of a pipe.
enum class PipeTrust
{
    refused,
    trusted,
    ifConfirmed ///< as far as the registry confirms its answers
};

/// An answer of the system; `unknown` when it did not answer.
enum class Known
{
    unknown,
    no,
    yes
};

/// What the system tells about the server of a connected pipe and about its caller. Each call is one question to the
/// system. No call throws a failure of the system.
class IPipeServerFacts
{
public:
    virtual ~IPipeServerFacts() = default;

    /// The pipe's owner. Empty optional: the system did not answer. Empty identifier: it names no owner.
    virtual std::optional<identity::Sid> owner() = 0;
    /// The user of the calling thread; empty when unknown.
    virtual identity::Sid caller() = 0;
    virtual Known isCallerAdministrator() = 0;

    /// The types (dwServiceType) of the running services in the server's process; empty when unknown.
    virtual std::vector<DWORD> serviceTypes() = 0;
    /// Whether the image of the server's process lies below the installation directory that the registry names.
    virtual Known isImageOfPanel() = 0;
    /// Whether the server's process runs under this user or holds this service identifier.
    virtual Known runsAs(const identity::Sid& account) = 0;
    /// Whether the server's process runs as SYSTEM or holds the enabled group of administrators.
    virtual Known isServerAdministrator() = 0;

    /// The identities that the pipe's access list lets create instances. Empty optional: the list cannot be read.
    virtual std::optional<std::vector<identity::Sid>> instanceCreators() = 0;
};

/// Decides whether to believe a pipe's server, with as few questions as possible. The rules and their order are in
/// docs/security.md. An unanswered question never makes a server trusted.
/// @throws vosexception when an identifier cannot be made
PipeTrust decidePipeTrust(IPipeServerFacts& facts);

} // namespace Con
