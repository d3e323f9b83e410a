#include "config/pipe/overlapped_pipe.h"

#include "runtime/text/format.h"

#include <algorithm>
#include <utility>

namespace Con {

namespace {

DWORD chunk(std::size_t size)
{
    constexpr std::size_t largest = 1u << 30;
    return static_cast<DWORD>(std::min(size, largest));
}

} // namespace

bool isPipeFinished(DWORD code) noexcept
{
    return code == ERROR_HANDLE_EOF || code == ERROR_BROKEN_PIPE || code == ERROR_NO_DATA ||
           code == ERROR_PIPE_NOT_CONNECTED;
}

OverlappedPipe::~OverlappedPipe()
{
    cancel();
}

bool OverlappedPipe::isFinished() const noexcept
{
    return !PeekNamedPipe(handle_.get(), nullptr, 0, nullptr, nullptr, nullptr);
}

void OverlappedPipe::open(UniqueFile handle)
{
    close();
    if (!event_)
        event_.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event_)
        throwLastError({L"CreateEvent"}, {"Con::OverlappedPipe::open"});
    handle_ = std::move(handle);
}

void OverlappedPipe::close() noexcept
{
    cancel();
    handle_.reset();
}

DWORD OverlappedPipe::cancel() noexcept
{
    DWORD bytes = 0;
    if (pending_) {
        // The system may write to the buffer until the cancelled operation has ended.
        CancelIoEx(handle_.get(), &overlapped_);
        if (!GetOverlappedResult(handle_.get(), &overlapped_, &bytes, TRUE) && GetLastError() != ERROR_MORE_DATA)
            bytes = 0;
        pending_ = false;
    }
    return bytes;
}

OVERLAPPED* OverlappedPipe::prepare() noexcept
{
    overlapped_ = {};
    overlapped_.hEvent = event_.get();
    return &overlapped_;
}

void OverlappedPipe::begin(BOOL done, const wchar_t* failure)
{
    const DWORD code = done ? ERROR_SUCCESS : GetLastError();
    if (code != ERROR_SUCCESS && code != ERROR_IO_PENDING && code != ERROR_MORE_DATA)
        throwOsError(code, failure, {"Con::OverlappedPipe::begin"});
    pending_ = true;
}

bool OverlappedPipe::beginRead(void* buffer, std::size_t size)
{
    const BOOL done = ReadFile(handle_.get(), buffer, chunk(size), nullptr, prepare());
    if (!done && isPipeFinished(GetLastError()))
        return false;
    begin(done, L"Unable to read from pipe");
    return true;
}

void OverlappedPipe::beginWrite(const void* data, std::size_t size)
{
    begin(WriteFile(handle_.get(), data, chunk(size), nullptr, prepare()), L"Unable to write to pipe");
}

std::size_t OverlappedPipe::complete(DWORD timeoutMilliseconds)
{
    const RaiseSite site("Con::OverlappedPipe::complete");
    const DWORD state = hasEnded() ? WAIT_OBJECT_0 : WaitForSingleObject(event_.get(), timeoutMilliseconds);
    if (state == WAIT_TIMEOUT) {
        if (const DWORD bytes = cancel()) // it ended before the cancellation
            return bytes;
        throw PipeTimeout(site);
    }
    if (state != WAIT_OBJECT_0) {
        const DWORD code = GetLastError();
        cancel();
        throwOsError(code, formatString(L"Unable to complete pipe operation: Unknown state %X", state), site);
    }
    pending_ = false;
    DWORD bytes = 0;
    // Does not block: the operation has ended. The event may be set shortly before the OVERLAPPED record is filled.
    if (GetOverlappedResult(handle_.get(), &overlapped_, &bytes, TRUE))
        return bytes;
    const DWORD code = GetLastError();
    if (code == ERROR_MORE_DATA) // the next read gets the rest of the message
        return bytes;
    if (isPipeFinished(code))
        return 0;
    throwOsError(code, L"Unable to complete pipe operation", site);
}

std::size_t OverlappedPipe::read(void* buffer, std::size_t size)
{
    while (beginRead(buffer, size)) {
        const std::size_t bytes = complete(timeout_);
        if (bytes > 0 || isFinished())
            return bytes;
    }
    return 0;
}

void OverlappedPipe::write(const void* data, std::size_t size)
{
    auto at = static_cast<const char*>(data);
    while (size > 0) {
        beginWrite(at, size);
        const std::size_t bytes = complete(timeout_);
        if (bytes == 0)
            throwOsError(ERROR_NO_DATA, L"Unable to write to pipe", {"Con::OverlappedPipe::write"});
        at += bytes;
        size -= bytes;
    }
}

} // namespace Con
