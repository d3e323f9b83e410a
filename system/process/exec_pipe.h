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

    /// Sets the process whose end also ends reading and writing. // weak
    void attach(HANDLE child) noexcept { process_ = child; }

    explicit operator bool() const noexcept { return static_cast<bool>(pipe_); }

    /// Reads up to `size` bytes; waits for the first one. Defines no flags.
    /// @return 0 at the end: every handle of the other end is closed; or the process has ended, one of its children
    ///         still holds the other end, and wrote nothing for half a second or has not closed it after ten seconds
    /// @throws vosexception "Unable to read from pipe", "Unable to complete pipe operation"; a later read may succeed
    std::size_t read(void* buffer, std::size_t size, unsigned flags);

    /// Whether reading ended while the other end was still open.
    bool wasCutOff() const noexcept { return cutOff_; }

    /// Writes all data. @param flags  lastWrite or 0
    /// @param totalMilliseconds  time-out of the whole write
    /// @throws vosexception "Unable to write to pipe", also when the process ends; Con::PipeTimeout when the child
    ///         reads nothing for a minute, or after the time-out
    void write(const void* data, std::size_t size, unsigned flags, DWORD totalMilliseconds = INFINITE);

    void close() noexcept { pipe_.close(); }

private:
    /// Waits for the end of the operation, or for the end of the process and then half a second. @return 0 at the end
    std::size_t completeOrEnd(DWORD timeoutMilliseconds);

    /// Whether the time for output after the process's end is over.
    bool isOver() const noexcept;

    Con::ServerOverlappedPipe pipe_;
    HANDLE process_ = nullptr; // weak
    ULONGLONG endedAt_ = 0;    // ticks; 0 while the process runs
    bool silent_ = false;
    bool cutOff_ = false;
};
