#include "config/pipe/client_pipe.h"

#include "config/pipe/pipe_server_facts.h"
#include "runtime/text/format.h"

#include <utility>

namespace Con {

namespace {

UniqueFile connect(const std::wstring& name, DWORD tries, const std::wstring& failure, RaiseSite site)
{
    for (DWORD attempt = 0;;) {
        UniqueFile handle(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
            FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr));
        if (handle)
            return handle;
        const DWORD code = GetLastError();
        if (code != ERROR_PIPE_BUSY || ++attempt >= tries)
            throwOsError(code, failure, site);
        WaitNamedPipeW(name.c_str(), 1000);
    }
}

} // namespace

void ClientOverlappedPipe::create(const std::wstring& name, DWORD tries)
{
    const RaiseSite site("Con::ClientOverlappedPipe::create");
    const std::wstring failure = L"Unable to connect to pipe " + name;
    UniqueFile handle = connect(name, tries, failure, site);

    PipeServerFacts facts(handle.get());
    trust_ = decidePipeTrust(facts);
    if (trust_ == PipeTrust::refused) {
        const bool hasEnded = facts.hasServerEnded();
        const wchar_t* const verdict = hasEnded ? L"has ended before it could be checked" : L"is not trusted";
        throw PipeServerRefused(hasEnded ? ERROR_BROKEN_PIPE : ERROR_ACCESS_DENIED, failure,
            formatString(L"The server of pipe %s %s: %s", name.c_str(), verdict, facts.describe().c_str()), site);
    }

    DWORD mode = PIPE_READMODE_BYTE | PIPE_WAIT;
    if (!SetNamedPipeHandleState(handle.get(), &mode, nullptr, nullptr))
        throwLastError({L"Unable to set mode of pipe ", name}, site);
    open(std::move(handle));
}

} // namespace Con
