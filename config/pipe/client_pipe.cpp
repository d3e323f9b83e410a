#include "config/pipe/client_pipe.h"

#include "config/pipe/pipe_trust.h"

#include <utility>

namespace Con {

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
    if (!isPipeServerTrusted(handle.get()))
        throwOsError(ERROR_ACCESS_DENIED, failure, site);
    DWORD mode = PIPE_READMODE_BYTE | PIPE_WAIT;
    if (!SetNamedPipeHandleState(handle.get(), &mode, nullptr, nullptr))
        throwLastError({L"Unable to set mode of pipe ", name}, site);
    open(std::move(handle));
}

} // namespace Con
