#pragma once

#include "config/pipe/overlapped_pipe.h"

#include <string>

namespace Con {

/// The server end of a byte-type pipe with one instance.
class ServerOverlappedPipe : public OverlappedPipe
{
public:
    using OverlappedPipe::OverlappedPipe;

    /// Creates the pipe. Fails if a pipe of that name exists. Only SYSTEM, Administrators and the caller's user have
    /// access. Remote clients are rejected.
    /// @param access  PIPE_ACCESS_INBOUND, PIPE_ACCESS_OUTBOUND or PIPE_ACCESS_DUPLEX
    /// @throws vosexception "Unable to create pipe <name>", "CreateEvent"
    void create(const std::wstring& name, DWORD access);

    /// Waits for a client. @return whether a client connected in time; it may have disconnected again
    /// @throws vosexception "Unable to wait while pipe has been connected"
    bool connect(DWORD timeoutMilliseconds);
    /// Disconnects the client. connect() can then wait for another one.
    void disconnect() noexcept;
};

} // namespace Con
