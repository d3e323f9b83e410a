#pragma once

#include <string>

/// A local account without rights of its own, for the facts about other users.
class Account
{
public:
    /// Makes the account. Without success name() is empty and failure() tells why.
    explicit Account(const std::wstring& name);
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;
    ~Account();

    static bool exists(const std::wstring& name);

    /// Removes an account that this process or an earlier one made, with its profile.
    /// @return false when it is still there
    static bool remove(const std::wstring& name);

    const std::wstring& name() const { return name_; }
    const std::wstring& password() const { return password_; }
    const std::string& failure() const { return failure_; }

private:
    std::wstring name_, password_;
    std::string failure_;
};
