#pragma once

#include "config/pipe/server_pipe.h"

#include <string>

/// The parent's end of a pipe to one of a child's standard handles.
class ExecPipe
{
public:
    enum class Direction
    {
        fromChild,
        toChild
    };

    static constexpr unsigned lastWrite = 1; ///< a flag: the pipe is closed behind this write

    /// Creates both ends. @return the child's, inheritable
    /// @throws vosexception "Unable to create pipe ...", "Unable to connect to pipe ..."
    UniqueFile create(Direction direction);

    /// From now on the child's end ends reading and writing too.
    void attach(HANDLE child) noexcept { process_ = child; } // weak

    explicit operator bool() const noexcept { return static_cast<bool>(pipe_); }

    /// Reads what is there, up to `size` bytes, waiting for the first one. Flags: none so far.
    /// @return 0 at the end: nobody has the other end any more; or the process has ended and somebody that it started
    ///         still has the other end, but wrote nothing for half a second, or wrote on for ten seconds
    /// @throws vosexception "Unable to read from pipe", "Unable to complete pipe operation"
    std::size_t read(void* buffer, std::size_t size, unsigned flags);

    /// Writes all of it. @param flags  lastWrite or 0
    /// @param totalMilliseconds  how long all of it may take
    /// @throws vosexception "Unable to write to pipe", also when the process ends; Con::PipeTimeout when the child
    ///         takes nothing for a minute, or the time is over
    void write(const void* data, std::size_t size, unsigned flags, DWORD totalMilliseconds = INFINITE);

private:
    /// Awaits the end of the operation, or of the process and then of half a second. @return 0 at the end
    std::size_t completeOrEnd(DWORD timeoutMilliseconds);

    /// Whether what comes after the process's end has come.
    bool isOver() const noexcept;

    Con::ServerOverlappedPipe pipe_;
    HANDLE process_ = nullptr;
    ULONGLONG endedAt_ = 0; // ticks, 0 while it runs
    bool silent_ = false;
};
