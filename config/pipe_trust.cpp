#include "config/pipe_trust.h"

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
        OpenProcessToken(process.get(), TOKEN_QUERY | TOKEN_DUPLICATE, token.receive());
    return token;
}

bool isTrusted(HANDLE pipe)
{
    const auto isMachine = [](const identity::Sid& sid) {
        return sid == identity::Sid::wellKnown(WinLocalSystemSid) ||
               sid == identity::Sid::wellKnown(WinBuiltinAdministratorsSid) ||
               sid == identity::userOf(identity::effectiveToken(TOKEN_QUERY).get());
    };
    const identity::Sid owner = ownerOf(pipe);
    const UniqueHandle token = serverToken(pipe);
    if (!token) // the service's process may be closed to us
        return owner && isMachine(owner);
    // The owner is that of the pipe's first instance; who may write to it may also serve one more. So the process
    // at the other end counts as well wherever it can be asked.
    const identity::Sid user = identity::userOf(token.get());
    const bool trustedUser = isMachine(user) || identity::isAdministrator(token.get());
    return trustedUser && (!owner || owner == user || isMachine(owner));
}

} // namespace

bool isPipeOfMachine(HANDLE pipe) noexcept
{
    try {
        return isTrusted(pipe);
    } catch (...) { // what cannot be told is not trusted
        return false;
    }
}
