#pragma once

#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"

#include <string>

/// Named pipes with overlapped I/O. Byte-type and message-type pipes are read as byte streams.
namespace Con {

/// An operation did not end within its time-out and was cancelled.
class PipeTimeout : public vosexception
{
public:
    explicit PipeTimeout(RaiseSite site) : vosexception(WAIT_TIMEOUT, L"Unable to complete pipe operation", site) {}
};

/// Whether the error code means that the other end is closed or disconnected.
bool isPipeFinished(DWORD code) noexcept;

/// One end of a pipe. At most one operation at a time; each has a time-out.
class OverlappedPipe
{
public:
    static constexpr DWORD defaultTimeout = 60'000;

    /// @param timeoutMilliseconds  the longest wait of read() and write() for one operation
    explicit OverlappedPipe(DWORD timeoutMilliseconds = defaultTimeout) noexcept : timeout_(timeoutMilliseconds) {}
    OverlappedPipe(const OverlappedPipe&) = delete;
    OverlappedPipe& operator=(const OverlappedPipe&) = delete;
    /// Cancels a pending operation and waits for its end.
    ~OverlappedPipe();

    /// Reads up to `size` bytes. Waits for the first byte only.
    /// @return the number of bytes; 0 when the pipe is finished
    /// @throws vosexception "Unable to read from pipe", "Unable to complete pipe operation"; PipeTimeout
    std::size_t read(void* buffer, std::size_t size);
    /// Writes all bytes.
    /// @throws vosexception "Unable to write to pipe", "Unable to complete pipe operation"; PipeTimeout
    void write(const void* data, std::size_t size);

    /// Starts a read, which complete() ends. For callers that also wait for other objects. The buffer must stay valid
    /// until complete() returns.
    /// @return false when the pipe is finished
    /// @throws vosexception "Unable to read from pipe"
    bool beginRead(void* buffer, std::size_t size);
    /// Starts a write, as beginRead() a read. @throws vosexception "Unable to write to pipe"
    void beginWrite(const void* data, std::size_t size);
    /// Waits for the end of the started operation. Cancels it after the time-out.
    /// @return the number of bytes; 0 when the pipe is finished or an empty message was read: see isFinished()
    /// @throws vosexception "Unable to complete pipe operation"; PipeTimeout
    std::size_t complete(DWORD timeoutMilliseconds);
    /// Whether the started operation has ended.
    bool hasEnded() const noexcept { return HasOverlappedIoCompleted(&overlapped_); }
    /// Whether the other end is closed and no data is left to read.
    bool isFinished() const noexcept;
    /// The event that is set when the started operation ends. // weak
    HANDLE completion() const noexcept { return event_.get(); }

    explicit operator bool() const noexcept { return static_cast<bool>(handle_); }
    void close() noexcept;

protected:
    HANDLE handle() const noexcept { return handle_.get(); } // weak
    /// Takes the handle of a pipe end; closes the previous one. @throws vosexception "CreateEvent"
    void open(UniqueFile handle);
    /// Cancels a pending operation and waits for its end. @return the bytes that it transferred before
    DWORD cancel() noexcept;
    /// The OVERLAPPED record, reset for the next operation. // weak
    OVERLAPPED* prepare() noexcept;
    void setPending() noexcept { pending_ = true; }

private:
    void begin(BOOL done, const wchar_t* failure);

    UniqueFile handle_;
    UniqueHandle event_;
    OVERLAPPED overlapped_{};
    bool pending_ = false;
    DWORD timeout_;
};

} // namespace Con
