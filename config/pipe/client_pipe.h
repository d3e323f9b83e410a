#pragma once

#include "config/pipe/overlapped_pipe.h"

#include <string>

namespace Con {

/// The client end of a named pipe.
class ClientOverlappedPipe : public OverlappedPipe
{
public:
    using OverlappedPipe::OverlappedPipe;

    /// Connects to the pipe. While all instances are busy, makes at most `tries` attempts and waits up to a second
    /// between them. The server can identify the caller but not impersonate it.
    /// @throws vosexception "Unable to connect to pipe <name>", with ERROR_ACCESS_DENIED also when the server is not
    /// trusted (pipe_trust.h); "Unable to set mode of pipe <name>"; "CreateEvent"
    void create(const std::wstring& name, DWORD tries);
};

} // namespace Con
