#pragma once

#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"

#include <string>

/// Named pipes with overlapped I/O. Byte-type and message-type pipes are read as byte streams.
namespace Con {

/// An operation that did not end in its time and was cancelled.
class PipeTimeout : public vosexception
{
public:
    explicit PipeTimeout(RaiseSite site) : vosexception(WAIT_TIMEOUT, L"Unable to complete pipe operation", site) {}
};

/// Whether an error code says that the other end is closed.
bool isPipeFinished(DWORD code) noexcept;

/// One end of an overlapped pipe. At most one operation at a time; each has a time-out.
class OverlappedPipe
{
public:
    static constexpr DWORD defaultTimeout = 60'000;

    /// @param timeoutMilliseconds  time-out of one operation
    explicit OverlappedPipe(DWORD timeoutMilliseconds = defaultTimeout) noexcept : timeout_(timeoutMilliseconds) {}
    OverlappedPipe(const OverlappedPipe&) = delete;
    OverlappedPipe& operator=(const OverlappedPipe&) = delete;
    /// Cancels the pending operation and waits for its end.
    ~OverlappedPipe();

    /// Reads up to `size` bytes; waits for the first one.
    /// @return 0 when the pipe is finished
    /// @throws vosexception "Unable to read from pipe", "Unable to complete pipe operation"; PipeTimeout
    std::size_t read(void* buffer, std::size_t size);
    /// Writes all bytes.
    /// @throws vosexception "Unable to write to pipe", "Unable to complete pipe operation"; PipeTimeout
    void write(const void* data, std::size_t size);

    /// Start a read or a write, for callers that also wait for other handles. The buffer must live until complete()
    /// or cancel() has returned.
    /// @return false when the pipe is finished
    /// @throws vosexception "Unable to read from pipe"
    bool beginRead(void* buffer, std::size_t size);
    /// Starts a write, as beginRead() a read. @throws vosexception "Unable to write to pipe"
    void beginWrite(const void* data, std::size_t size);
    /// Waits for the end of the operation; cancels it after the time-out.
    /// @return bytes; 0: the pipe is finished
    /// @throws vosexception "Unable to complete pipe operation"; PipeTimeout
    std::size_t complete(DWORD timeoutMilliseconds);
    /// Cancels the pending operation, if any, and waits for its end. @return the bytes transferred
    DWORD cancel() noexcept;
    /// Whether the pending operation has ended.
    bool hasEnded() const noexcept { return HasOverlappedIoCompleted(&overlapped_); }
    /// Whether the other end is closed and nothing is left to read. (A read of no bytes may also be an empty write.)
    bool isFinished() const noexcept;
    /// Signalled when the pending operation has ended. // weak
    HANDLE completion() const noexcept { return event_.get(); }

    explicit operator bool() const noexcept { return static_cast<bool>(handle_); }
    void close() noexcept;

protected:
    HANDLE handle() const noexcept { return handle_.get(); } // weak
    /// Takes the handle of a pipe end; closes the previous one. @throws vosexception "CreateEvent"
    void open(UniqueFile handle);
    /// The OVERLAPPED record of the next operation, initialised. // weak
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
