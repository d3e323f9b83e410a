#pragma once

#include "runtime/handle/handles.h"

/// The calling thread acts under the process's own identity for the life of a scope. The thread must be
/// impersonating. If the impersonation cannot be restored at the end, the process ends: the thread would act with
/// more rights than its caller knows.
class OwnIdentity
{
public:
    /// @throws vosexception "Unable to open a thread token", "RevertToSelf"
    OwnIdentity();
    OwnIdentity(const OwnIdentity&) = delete;
    OwnIdentity& operator=(const OwnIdentity&) = delete;
    ~OwnIdentity();

private:
    UniqueHandle impersonated_;
};
