#include "system/process/exec_pipe.h"

#include "runtime/text/format.h"

#include <algorithm>
#include <atomic>

namespace {

/// Time for output of the process's children after its end, in milliseconds.
constexpr ULONGLONG longestAfterEnd = 10'000;

} // namespace

UniqueFile ExecPipe::create(Direction direction)
{
    // A named pipe: anonymous pipes have no overlapped reads. The name is unique to this process and call.
    static std::atomic<LONG> calls = 0;
    const std::wstring name =
        formatString(L"\\\\.\\pipe\\mendkit.%lu.%ld.%llu", GetCurrentProcessId(), ++calls, GetTickCount64());
    const bool toChild = direction == Direction::toChild;
    pipe_.create(name, toChild ? PIPE_ACCESS_OUTBOUND : PIPE_ACCESS_INBOUND);

    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    // Children set the state of their standard handles, which needs attribute rights of the other direction.
    const DWORD access = toChild ? GENERIC_READ | FILE_WRITE_ATTRIBUTES : GENERIC_WRITE | FILE_READ_ATTRIBUTES;
    UniqueFile childEnd(CreateFileW(name.c_str(), access, 0, &inherit, OPEN_EXISTING, 0, nullptr));
    if (!childEnd)
        throwLastError({L"Unable to connect to pipe ", name}, {"ExecPipe::create"});
    return childEnd;
}

std::size_t ExecPipe::read(void* buffer, std::size_t size, unsigned)
{
    // Before each read: a child that goes on writing must not extend the time.
    while (!isOver() && pipe_.beginRead(buffer, size)) {
        // No time-out while the process runs: the utilities decide themselves how long they take.
        const std::size_t bytes = completeOrEnd(INFINITE);
        if (bytes > 0)
            return bytes;
        if (pipe_.isFinished())
            return 0;
    }
    cutOff_ = isOver() && !pipe_.isFinished();
    return 0;
}

void ExecPipe::write(const void* data, std::size_t size, unsigned flags, DWORD totalMilliseconds)
{
    const ULONGLONG begun = GetTickCount64();
    auto at = static_cast<const char*>(data);
    while (size > 0) {
        pipe_.beginWrite(at, size);
        const ULONGLONG spent = GetTickCount64() - begun;
        const auto left = static_cast<DWORD>(spent < totalMilliseconds ? totalMilliseconds - spent : 0);
        const std::size_t bytes = completeOrEnd(std::min(left, Con::OverlappedPipe::defaultTimeout));
        if (bytes == 0)
            throwOsError(ERROR_NO_DATA, L"Unable to write to pipe", {"ExecPipe::write"});
        at += bytes;
        size -= bytes;
    }
    if (flags & lastWrite)
        pipe_.close();
}

bool ExecPipe::isOver() const noexcept
{
    return silent_ || (endedAt_ != 0 && GetTickCount64() - endedAt_ > longestAfterEnd);
}

std::size_t ExecPipe::completeOrEnd(DWORD timeoutMilliseconds)
{
    constexpr DWORD silenceAfterEnd = 500;
    if (pipe_.hasEnded()) // saves the wait while the child writes faster than this process reads
        return pipe_.complete(0);
    const HANDLE either[] = {pipe_.completion(), process_};
    const DWORD signalled = WaitForMultipleObjects(process_ ? 2 : 1, either, FALSE, timeoutMilliseconds);
    if (signalled == WAIT_FAILED) {
        const DWORD code = GetLastError();
        pipe_.cancel(); // the caller may free the buffer now
        throwOsError(code, formatString(L"Unable to complete pipe operation: Unknown state %X", signalled),
            {"ExecPipe::completeOrEnd"});
    }
    const bool processEnded = signalled == WAIT_OBJECT_0 + 1;
    if (processEnded && endedAt_ == 0)
        endedAt_ = GetTickCount64();
    try {
        return pipe_.complete(processEnded ? silenceAfterEnd : 0);
    } catch (const Con::PipeTimeout&) {
        if (!processEnded)
            throw;
        silent_ = true;
        return 0;
    }
}
