#include "config/pipe_trust.h"

#include "runtime/access.h"

#include <aclapi.h>

namespace {

access::Sid ownerOf(HANDLE pipe)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD status = GetSecurityInfo(
        pipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr, &descriptor);
    const UniqueLocalMemory memory(descriptor);
    return status == ERROR_SUCCESS ? access::Sid(owner) : access::Sid();
}

UniqueHandle serverToken(HANDLE pipe)
{
    ULONG id = 0;
    if (!GetNamedPipeServerProcessId(pipe, &id))
        return UniqueHandle();
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    return process ? access::tokenOf(process.get(), TOKEN_QUERY | TOKEN_DUPLICATE) : UniqueHandle();
}

bool isTrusted(HANDLE pipe)
{
    const access::Sid owner = ownerOf(pipe);
    const auto isMachine = [](const access::Sid& sid) {
        return sid == access::Sid::wellKnown(WinLocalSystemSid) ||
               sid == access::Sid::wellKnown(WinBuiltinAdministratorsSid) ||
               sid == access::userOf(access::tokenOf(GetCurrentProcess(), TOKEN_QUERY).get());
    };
    if (owner && isMachine(owner))
        return true;
    // Some user's pipe, or nobody knows whose: it depends on who that user is, which its server's token
    // tells.
    const UniqueHandle token = serverToken(pipe);
    if (!token)
        return false;
    const access::Sid user = access::userOf(token.get());
    if (owner && !(owner == user))
        return false;
    return isMachine(user) || access::isAdministrator(token.get());
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
