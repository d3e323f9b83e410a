#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

/// A fresh directory of the test's own; removed with its files when the test has passed.
class TempDirectory
{
public:
    TempDirectory();
    ~TempDirectory();
    const std::wstring& path() const { return path_; }

private:
    std::wstring path_;
};

std::wstring makeDirectory(const std::wstring& path);
/// The whole file; empty when it cannot be opened.
std::string readFile(const std::wstring& path);
/// The debug log of today below a product root, without its byte-order mark; each record on a line.
std::wstring debugLog(const std::wstring& productRoot);

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
