#pragma once

#include "config/pipe/overlapped_pipe.h"

#include <string>

namespace Con {

/// The connecting end.
class ClientOverlappedPipe : public OverlappedPipe
{
public:
    using OverlappedPipe::OverlappedPipe;

    /// Connects. A busy pipe is waited for and tried again, `tries` times at most. The server may identify
    /// the caller but not act as it; a server that is not one of the machine's (pipe_trust.h) counts as none.
    /// @throws vosexception "Unable to connect to pipe <name>", "Unable to set mode of pipe <name>"
    void create(const std::wstring& name, DWORD tries);
};

} // namespace Con
