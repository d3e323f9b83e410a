#include "system/process/child_identity.h"

#include "runtime/failure/vosexception.h"
#include "runtime/identity.h"

UniqueHandle chooseChildIdentity()
{
    const RaiseSite site("vexecutil::start");
    UniqueHandle thread, process, primary;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_READ | TOKEN_DUPLICATE, FALSE, thread.receive())) {
        const DWORD code = GetLastError();
        if (code == ERROR_NO_TOKEN)
            return primary;
        throwOsError(code, L"Unable to open a thread token", site);
    }
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_READ, process.receive()))
        throwLastError({L"Unable to open a process token"}, site);
    if (identity::isAdministrator(thread.get()) == identity::isAdministrator(process.get()))
        return primary;
    if (!DuplicateTokenEx(
            thread.get(), MAXIMUM_ALLOWED, nullptr, SecurityImpersonation, TokenPrimary, primary.receive()))
        throwLastError({L"Unable to duplicate impersonation token"}, site);
    return primary;
}
