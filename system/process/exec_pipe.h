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

    static constexpr unsigned lastWrite = 1; ///< a flag: closes the pipe after this write

    /// Creates both ends. @return the child's end, inheritable
    /// @throws vosexception "Unable to create pipe ...", "Unable to connect to pipe ..."
    UniqueFile create(Direction direction);

    /// Makes reads and writes end when the child ends, too.
    void attach(HANDLE child) noexcept { process_ = child; } // weak

    explicit operator bool() const noexcept { return static_cast<bool>(pipe_); }

    /// Reads up to `size` bytes; waits for the first one. No flags are defined.
    /// @return the bytes read; 0 at the end. The end: all handles of the other end are closed. Or the child has
    /// ended,
    ///         a process that it started holds the other end, and either nothing arrived for half a second or the
    ///         child ended ten seconds ago.
    /// @throws vosexception "Unable to read from pipe", "Unable to complete pipe operation"
    std::size_t read(void* buffer, std::size_t size, unsigned flags);

    /// Writes all bytes.
    /// @param flags              lastWrite or 0
    /// @param totalMilliseconds  the time-out of the whole write
    /// @throws vosexception "Unable to write to pipe", also when the child ends. Con::PipeTimeout when the child
    /// reads
    ///         nothing for a minute, or after the time-out.
    void write(const void* data, std::size_t size, unsigned flags, DWORD totalMilliseconds = INFINITE);

private:
    /// Awaits the end of the operation. When the child ends first, waits half a second more.
    /// @return the bytes moved; 0 at the end
    std::size_t completeOrEnd(DWORD timeoutMilliseconds);

    /// Whether the child has ended and no more output is awaited.
    bool isOver() const noexcept;

    Con::ServerOverlappedPipe pipe_;
    HANDLE process_ = nullptr;
    ULONGLONG endedAt_ = 0; // GetTickCount64 when the child's end was seen; 0 before
    bool silent_ = false;
};
