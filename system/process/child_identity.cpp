#include "system/process/child_identity.h"

#include "runtime/failure/vosexception.h"
#include "runtime/identity.h"

namespace {

bool isProcessAdministrator(RaiseSite site)
{
    try {
        // Opening the token of the process would be checked against the thread's token, which may have fewer rights.
        return identity::isAdministrator(GetCurrentProcessToken());
    } catch (const vosexception& failure) {
        throwOsError(failure.code(), L"Unable to open a process token", site);
    }
}

} // namespace

UniqueHandle chooseChildIdentity()
{
    const RaiseSite site("vexecutil::start");
    UniqueHandle thread, primary;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_READ | TOKEN_DUPLICATE, FALSE, thread.receive())) {
        const DWORD code = GetLastError();
        if (code == ERROR_NO_TOKEN)
            return primary;
        throwOsError(code, L"Unable to open a thread token", site);
    }
    if (identity::isAdministrator(thread.get()) == isProcessAdministrator(site))
        return primary;
    if (!DuplicateTokenEx(
            thread.get(), MAXIMUM_ALLOWED, nullptr, SecurityImpersonation, TokenPrimary, primary.receive()))
        throwLastError({L"Unable to duplicate impersonation token"}, site);
    return primary;
}
