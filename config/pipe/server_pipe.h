#pragma once

#include "config/pipe/overlapped_pipe.h"

#include <string>

namespace Con {

/// The serving end, of one instance; the pipe is of the type "byte".
class ServerOverlappedPipe : public OverlappedPipe
{
public:
    using OverlappedPipe::OverlappedPipe;

    /// Creates the pipe; fails when one of that name exists.
    /// @param access  PIPE_ACCESS_INBOUND, PIPE_ACCESS_OUTBOUND or PIPE_ACCESS_DUPLEX
    /// @throws vosexception "Unable to create pipe <name>"
    void create(const std::wstring& name, DWORD access);

    /// Waits for a client. @return false when none came in time
    /// @throws vosexception "Unable to wait while pipe has been connected"
    bool connect(DWORD timeoutMilliseconds);
    /// Lets the client go; the pipe can be connected again.
    void disconnect() noexcept;
};

} // namespace Con
