#include "config/pipe/server_pipe.h"

#include "runtime/identity.h"
#include "runtime/text/format.h"

#include <sddl.h>

#include <utility>

namespace Con {

void ServerOverlappedPipe::create(const std::wstring& name, DWORD access, Owner owner)
{
    // The default access list lets Everyone read. The owner is explicit because clients check it, and Wine takes the
    // user's group for a descriptor without owner.
    const std::wstring account = owner == Owner::administrators ? L"BA" : identity::currentUser().text();
    const std::wstring rights = L"O:" + account + L"D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;" + account + L")";
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
    if (code == ERROR_PIPE_CONNECTED || code == ERROR_NO_DATA) // connected, perhaps closed again
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
    return state == WAIT_OBJECT_0 || !isFinished(); // a client may connect before the cancellation
}

void ServerOverlappedPipe::disconnect() noexcept
{
    cancel();
    DisconnectNamedPipe(handle());
}

} // namespace Con
