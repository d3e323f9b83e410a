#include "system/process/own_identity.h"

#include "runtime/failure/vosexception.h"

#include <exception>

OwnIdentity::OwnIdentity()
{
    const RaiseSite site("vexecutil::start");
    // Opened under the process's identity: the impersonated user need not have the right to set the token again.
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, impersonated_.receive()))
        throwLastError({L"Unable to open a thread token"}, site);
    if (!RevertToSelf())
        throwLastError({L"RevertToSelf"}, site);
}

OwnIdentity::~OwnIdentity()
{
    if (!SetThreadToken(nullptr, impersonated_.get()))
        std::terminate();
}
