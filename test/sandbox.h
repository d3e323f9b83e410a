#pragma once

#include "runtime/vdatetime.h"
#include "test/kit.h"
#include "test/registry_override.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

/// The bytes of a file; empty when it cannot be opened.
inline std::string readFile(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A new installation directory. Removed with its files when the test has passed.
class ProductRoot
{
public:
    ProductRoot()
    {
        wchar_t base[MAX_PATH], name[MAX_PATH];
        GetTempPathW(MAX_PATH, base);
        const std::wstring drive = kit::drive();
        GetTempFileNameW(drive.empty() ? base : (drive + L"\\").c_str(), L"mk", 0, name);
        DeleteFileW(name);
        path_ = name + std::wstring(L" ä Ж");
        for (const wchar_t* part : {L"", L"\\admin", L"\\admin\\bin", L"\\admin\\bin64", L"\\admin\\logs"})
            EXPECT_TRUE(CreateDirectoryW((path_ + part).c_str(), nullptr)) << GetLastError();
    }
    ~ProductRoot()
    {
        if (kit::isRunning() || !testing::Test::HasFailure()) // kept after a failure, but not on others' machines
            _wsystem((L"cmd /c rd /s /q \"" + path_ + L"\"").c_str());
    }

    const std::wstring& path() const { return path_; }
    std::wstring logFile(const std::wstring& name) const
    {
        return path_ + L"\\admin\\logs\\kelvolog_" + name + VDateTime::local().compactDate() + L".log";
    }
    /// The text of today's log, with its byte-order mark; empty when there is none.
    std::wstring log(const std::wstring& name = L"debug") const
    {
        const std::string bytes = readFile(logFile(name));
        std::wstring text((bytes.size() + 1) / 2, L'\0');
        memcpy(text.data(), bytes.data(), bytes.size());
        return text;
    }

private:
    std::wstring path_;
};

/// A test with an empty HKEY_LOCAL_MACHINE.
class RegistrySandbox : public testing::Test
{
    RegistryOverride machine_;
};
