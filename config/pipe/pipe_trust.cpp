#include "config/pipe/pipe_trust.h"

#include "runtime/identity.h"

#include <aclapi.h>

namespace {

identity::Sid ownerOf(HANDLE pipe)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD status = GetSecurityInfo(
        pipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr, &descriptor);
    const UniqueLocalMemory memory(descriptor);
    return status == ERROR_SUCCESS ? identity::Sid(owner) : identity::Sid();
}

UniqueHandle serverToken(HANDLE pipe)
{
    ULONG id = 0;
    if (!GetNamedPipeServerProcessId(pipe, &id))
        return UniqueHandle();
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    UniqueHandle token;
    if (process)
        OpenProcessToken(process.get(), TOKEN_QUERY, token.receive());
    return token;
}

bool isTrusted(HANDLE pipe)
{
    const UniqueHandle caller = identity::effectiveToken(TOKEN_QUERY);
    const identity::Sid self = identity::userOf(caller.get());
    const auto isTrustedUser = [&](const identity::Sid& sid) {
        return identity::isSystemOrAdministrators(sid) || sid == self;
    };
    const identity::Sid owner = ownerOf(pipe);
    // The owner is that of the pipe's first instance. Another account may have the right to create instances, and one
    // of its instances may be the connected one. So the server's process is checked too.
    const UniqueHandle token = serverToken(pipe);
    // Administrators can query the process of a service. Other callers often cannot; a false server can misuse only
    // their own rights.
    if (!token)
        return owner && isTrustedUser(owner) && !identity::isAdministrator(caller.get());
    const identity::Sid user = identity::userOf(token.get());
    const bool trustedProcess = isTrustedUser(user) || identity::isAdministrator(token.get());
    return trustedProcess && (!owner || owner == user || isTrustedUser(owner));
}

} // namespace

bool isPipeServerTrusted(HANDLE pipe) noexcept
{
    try {
        return isTrusted(pipe);
    } catch (...) { // the facts are unknown: not trusted
        return false;
    }
}
