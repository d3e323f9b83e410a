#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

/// A fresh product root of the test's own; removed with its files when the test has passed.
class ProductRoot
{
public:
    ProductRoot();
    ~ProductRoot();
    const std::wstring& path() const { return path_; }
    std::wstring logFile(const std::wstring& name) const;
    /// A log of today as it is, with its byte-order mark; empty when there is none.
    std::wstring log(const std::wstring& name = L"debug") const;

private:
    std::wstring path_;
};

/// The whole file; empty when it cannot be opened.
std::string readFile(const std::wstring& path);

/// HKEY_LOCAL_MACHINE replaced by an empty key for the life of the test.
class RegistrySandbox : public testing::Test
{
protected:
    RegistrySandbox();
    ~RegistrySandbox() override;

    /// Values of the product's configuration key, in the 32-bit view.
    static void setConfig(const std::wstring& name, DWORD number);
    static void setConfig(const std::wstring& name, const std::wstring& text);

private:
    std::wstring keyName_;
};
