#include "system/exec_pipe.h"

#include "runtime/format.h"

UniqueFile ExecPipe::create(Direction direction)
{
    // A named pipe, since only these can be read with a time-out. The name is of this process and this call.
    static LONG calls = 0;
    const std::wstring name = formatString(
        L"\\\\.\\pipe\\mendkit.%lu.%ld.%llu", GetCurrentProcessId(), InterlockedIncrement(&calls), GetTickCount64());
    const bool toChild = direction == Direction::toChild;
    pipe_.create(name, toChild ? PIPE_ACCESS_OUTBOUND : PIPE_ACCESS_INBOUND);

    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    // Children set the state of their standard handles, for which one direction alone does not suffice.
    const DWORD access = toChild ? GENERIC_READ | FILE_WRITE_ATTRIBUTES : GENERIC_WRITE | FILE_READ_ATTRIBUTES;
    UniqueFile childEnd(CreateFileW(name.c_str(), access, 0, &inherit, OPEN_EXISTING, 0, nullptr));
    if (!childEnd)
        throwOsError(GetLastError(), L"Unable to connect to pipe " + name, {"ExecPipe::create"});
    return childEnd;
}

std::size_t ExecPipe::read(void* buffer, std::size_t size, unsigned)
{
    constexpr DWORD silenceAfterEnd = 500;
    if (!pipe_.beginRead(buffer, size))
        return 0;
    const HANDLE either[] = {pipe_.completion(), process_};
    WaitForMultipleObjects(process_ ? 2 : 1, either, FALSE, INFINITE); // a utility may take as long as it takes
    try {
        return pipe_.complete(silenceAfterEnd);
    } catch (const Con::PipeTimeout&) {
        return 0;
    }
}

void ExecPipe::write(const void* data, std::size_t size, unsigned flags)
{
    constexpr DWORD longest = Con::OverlappedPipe::defaultTimeout;
    constexpr unsigned lastWrite = 1;
    auto at = static_cast<const char*>(data);
    while (size > 0) {
        pipe_.beginWrite(at, size);
        const HANDLE either[] = {pipe_.completion(), process_};
        WaitForMultipleObjects(process_ ? 2 : 1, either, FALSE, longest);
        const std::size_t bytes = pipe_.complete(0);
        if (bytes == 0)
            throwOsError(ERROR_NO_DATA, L"Unable to write to pipe", {"ExecPipe::write"});
        at += bytes;
        size -= bytes;
    }
    if (flags & lastWrite)
        pipe_.close();
}
