#pragma once

#include "runtime/handle/handles.h"
#include "test/kit.h"

#include <gtest/gtest.h>

/// The calling thread acts as the kit's own account, an ordinary user, during this object's lifetime.
class AsOtherAccount
{
public:
    AsOtherAccount()
    {
        HANDLE token = nullptr;
        // A network logon needs no right that a machine's policy takes from ordinary users.
        EXPECT_TRUE(LogonUserW(kit::account().c_str(), L".", kit::password().c_str(), LOGON32_LOGON_NETWORK,
            LOGON32_PROVIDER_DEFAULT, &token))
            << "the kit's account cannot log on: " << GetLastError();
        token_.reset(token);
        EXPECT_TRUE(ImpersonateLoggedOnUser(token_.get())) << GetLastError();
    }
    AsOtherAccount(const AsOtherAccount&) = delete;
    AsOtherAccount& operator=(const AsOtherAccount&) = delete;
    ~AsOtherAccount() { RevertToSelf(); }

private:
    UniqueHandle token_;
};
