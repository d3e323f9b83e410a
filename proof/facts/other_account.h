#pragma once

#include "runtime/handle/handles.h"
#include "test/kit.h"

#include <gtest/gtest.h>

#include <string>

/// The calling thread acts as the kit's own account, an ordinary user, during this object's lifetime.
class AsOtherAccount
{
public:
    AsOtherAccount() : token_(logOn())
    {
        EXPECT_TRUE(token_) << "the kit's account cannot log on: " << GetLastError();
        EXPECT_TRUE(ImpersonateLoggedOnUser(token_.get())) << GetLastError();
    }
    AsOtherAccount(const AsOtherAccount&) = delete;
    AsOtherAccount& operator=(const AsOtherAccount&) = delete;
    ~AsOtherAccount() { RevertToSelf(); }

    /// Why no thread can act as that account; empty when it can.
    static std::string refusal()
    {
        if (kit::account().empty())
            return "the kit has no account of its own";
        const UniqueHandle token = logOn();
        if (!token)
            return "a policy keeps the kit's account from logging on: " + std::to_string(GetLastError());
        if (kit::isWine() && !ImpersonateLoggedOnUser(token.get())) // Wine 8 gives no real token
            return "Wine: no thread can act as another account";
        if (kit::isWine())
            RevertToSelf();
        return {};
    }

private:
    /// Policies deny local accounts one kind of logon or the other: "Deny access to this computer from the network",
    /// "Deny log on locally". "LogonUserW function": "." is the database of local accounts; the token of a network
    /// logon serves to impersonate.
    static UniqueHandle logOn()
    {
        for (const DWORD kind : {LOGON32_LOGON_NETWORK, LOGON32_LOGON_INTERACTIVE}) {
            HANDLE token = nullptr;
            if (LogonUserW(
                    kit::account().c_str(), L".", kit::password().c_str(), kind, LOGON32_PROVIDER_DEFAULT, &token))
                return UniqueHandle(token);
        }
        return UniqueHandle();
    }

    UniqueHandle token_;
};
