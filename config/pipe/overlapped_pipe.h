#pragma once

#include "runtime/failure/vosexception.h"
#include "runtime/handle/handles.h"

#include <string>

/// Named pipes. Reading is by bytes, whatever type the pipe has.
namespace Con {

/// An operation that did not end in its time; it has been cancelled.
class PipeTimeout : public vosexception
{
public:
    explicit PipeTimeout(RaiseSite site) : vosexception(WAIT_TIMEOUT, L"Unable to complete pipe operation", site) {}
};

/// Whether an error code says that the other end has gone.
bool isPipeFinished(DWORD code) noexcept;

/// One end of an overlapped pipe: at most one operation at a time, each bounded by a time-out.
class OverlappedPipe
{
public:
    static constexpr DWORD defaultTimeout = 60'000;

    /// @param timeoutMilliseconds  how long one operation may take
    explicit OverlappedPipe(DWORD timeoutMilliseconds = defaultTimeout) noexcept : timeout_(timeoutMilliseconds) {}
    OverlappedPipe(const OverlappedPipe&) = delete;
    OverlappedPipe& operator=(const OverlappedPipe&) = delete;
    /// Cancels what is under way and awaits its end.
    ~OverlappedPipe();

    /// Reads what is there, up to `size` bytes, waiting for the first one.
    /// @return 0 when the pipe is finished
    /// @throws vosexception "Unable to read from pipe", "Unable to complete pipe operation"; PipeTimeout
    std::size_t read(void* buffer, std::size_t size);
    /// Writes all of it. @throws vosexception "Unable to write to pipe" and as read()
    void write(const void* data, std::size_t size);

    /// The parts of read() and write(), for callers that wait for more than the pipe. The buffer must live
    /// until complete() has returned.
    /// @return false when the pipe is finished
    bool beginRead(void* buffer, std::size_t size);
    void beginWrite(const void* data, std::size_t size);
    /// Awaits the end of the operation, and cancels it when it takes longer.
    /// @return bytes; 0: the pipe is finished
    std::size_t complete(DWORD timeoutMilliseconds);
    /// Whether the operation that was begun has ended already.
    bool hasEnded() const noexcept { return HasOverlappedIoCompleted(&overlapped_); }
    /// Whether the other end has gone and nothing is left to read; a read of no bytes may also be an empty write.
    bool isFinished() const noexcept;
    /// Signalled when the operation that is under way has ended. // weak
    HANDLE completion() const noexcept { return event_.get(); }

    explicit operator bool() const noexcept { return static_cast<bool>(handle_); }
    void close() noexcept;

protected:
    HANDLE handle() const noexcept { return handle_.get(); } // weak
    void open(UniqueFile handle);
    /// Cancels what is under way, if anything, and awaits its end. @return the bytes that came through
    DWORD cancel() noexcept;
    /// The record of the next operation, made new. // weak
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
