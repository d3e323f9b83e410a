#pragma once

#include "config/pipe/overlapped_pipe.h"

#include <string>

namespace Con {

/// The server end of a byte-type pipe with one instance.
class ServerOverlappedPipe : public OverlappedPipe
{
public:
    using OverlappedPipe::OverlappedPipe;

    /// Who owns a pipe. SYSTEM and the administrators have all rights to it, as has the owner.
    enum class Owner
    {
        user, ///< the user of the calling thread
        administrators
    };

    /// Creates the pipe. Fails when a pipe of that name exists.
    /// @param access  PIPE_ACCESS_INBOUND, PIPE_ACCESS_OUTBOUND or PIPE_ACCESS_DUPLEX
    /// @throws vosexception "Unable to create pipe <name>"
    void create(const std::wstring& name, DWORD access, Owner owner = Owner::user);

    /// Waits for a client. @return false when no client connected in time
    /// @throws vosexception "Unable to wait while pipe has been connected"
    bool connect(DWORD timeoutMilliseconds);
    /// Disconnects the client; another one can connect.
    void disconnect() noexcept;
};

} // namespace Con
