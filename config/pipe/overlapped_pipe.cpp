#include "config/pipe/overlapped_pipe.h"

#include "config/pipe/pipe_trust.h"
#include "runtime/identity.h"
#include "runtime/text/format.h"

#include <sddl.h>

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
        // The buffer is the system's until the operation has ended, cancelled or not.
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
        if (const DWORD bytes = cancel()) // it ended just before it could be cancelled
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
    // Waits for nothing: it has ended. But the event may be set a moment before the record says so.
    if (GetOverlappedResult(handle_.get(), &overlapped_, &bytes, TRUE))
        return bytes;
    const DWORD code = GetLastError();
    if (code == ERROR_MORE_DATA) // the rest of a message, for the next read
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

void ClientOverlappedPipe::create(const std::wstring& name, DWORD tries)
{
    const RaiseSite site("Con::ClientOverlappedPipe::create");
    const std::wstring failure = L"Unable to connect to pipe " + name;
    UniqueFile handle;
    for (DWORD attempt = 0;;) {
        handle.reset(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
            FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr));
        if (handle)
            break;
        const DWORD code = GetLastError();
        if (code != ERROR_PIPE_BUSY || ++attempt >= tries)
            throwOsError(code, failure, site);
        WaitNamedPipeW(name.c_str(), 1000);
    }
    if (!isPipeOfMachine(handle.get()))
        throwOsError(ERROR_ACCESS_DENIED, failure, site);
    DWORD mode = PIPE_READMODE_BYTE | PIPE_WAIT;
    if (!SetNamedPipeHandleState(handle.get(), &mode, nullptr, nullptr))
        throwLastError({L"Unable to set mode of pipe ", name}, site);
    open(std::move(handle));
}

void ServerOverlappedPipe::create(const std::wstring& name, DWORD access)
{
    // The default access list lets everybody read; the pipes of this program are for its own user. The owner
    // is named because clients look at it, and Wine takes the user's group where none is given.
    const std::wstring user = identity::currentUser().text();
    const std::wstring rights = L"O:" + user + L"D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;" + user + L")";
    SECURITY_ATTRIBUTES security{sizeof security, nullptr, FALSE};
    UniqueLocalMemory descriptor;
    UniqueFile handle;
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(
            rights.c_str(), SDDL_REVISION_1, &security.lpSecurityDescriptor, nullptr)) {
        descriptor.reset(security.lpSecurityDescriptor);
        constexpr DWORD bufferSize = 65'536;
        handle.reset(CreateNamedPipeW(name.c_str(), access | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
            PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, bufferSize, bufferSize,
            0, &security));
    }
    if (!handle)
        throwLastError({L"Unable to create pipe ", name}, {"Con::ServerOverlappedPipe::create"});
    open(std::move(handle));
}

bool ServerOverlappedPipe::connect(DWORD timeoutMilliseconds)
{
    const RaiseSite site("Con::ServerOverlappedPipe::connect");
    if (ConnectNamedPipe(handle(), prepare()))
        return true;
    const DWORD code = GetLastError();
    if (code == ERROR_PIPE_CONNECTED || code == ERROR_NO_DATA) // here, or here and gone again
        return true;
    if (code != ERROR_IO_PENDING)
        throwOsError(code, L"Unable to wait while pipe has been connected", site);
    setPending();
    const DWORD state = WaitForSingleObject(completion(), timeoutMilliseconds);
    if (state != WAIT_OBJECT_0 && state != WAIT_TIMEOUT) {
        const DWORD failure = GetLastError();
        throwOsError(
            failure, formatString(L"Unable to wait while pipe has been connected: Unknown state %X", state), site);
    }
    cancel();
    return state == WAIT_OBJECT_0 || !isFinished(); // one may have come while we gave up
}

void ServerOverlappedPipe::disconnect() noexcept
{
    cancel();
    DisconnectNamedPipe(handle());
}

} // namespace Con
