#pragma once

#include "config/pipe/overlapped_pipe.h"
#include "config/pipe/pipe_trust.h"

#include <string>

namespace Con {

/// The pipe is there, but its server is not trusted, or has ended before it could be checked.
class PipeServerRefused : public vosexception
{
public:
    /// @param reason  what the system told about the server
    PipeServerRefused(DWORD code, const std::wstring& context, std::wstring reason, RaiseSite site)
        : vosexception(code, context, site), reason_(std::move(reason))
    {
    }
    const std::wstring& reason() const noexcept { return reason_; }

private:
    std::wstring reason_;
};

/// The client end of a pipe.
class ClientOverlappedPipe : public OverlappedPipe
{
public:
    using OverlappedPipe::OverlappedPipe;

    /// Connects. Waits for a busy pipe and tries again, `tries` times at most. The server may identify the caller but
    /// not impersonate it.
    /// @throws vosexception "Unable to connect to pipe <name>", "Unable to set mode of pipe <name>";
    ///         PipeServerRefused "Unable to connect to pipe <name>"
    void create(const std::wstring& name, DWORD tries);

    /// How far to believe the server: `trusted` or `ifConfirmed` once create() has returned.
    PipeTrust trust() const noexcept { return trust_; }

private:
    PipeTrust trust_ = PipeTrust::refused;
};

} // namespace Con
