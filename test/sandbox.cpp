#include "test/sandbox.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "runtime/vdatetime.h"

#include <fstream>

namespace {

UniqueRegistryKey configKey()
{
    return registry::create(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE | KEY_WOW64_32KEY);
}

} // namespace

ProductRoot::ProductRoot()
{
    wchar_t base[MAX_PATH], name[MAX_PATH];
    GetTempPathW(MAX_PATH, base);
    GetTempFileNameW(base, L"mk", 0, name);
    DeleteFileW(name);
    path_ = name + std::wstring(L" ä Ж");
    for (const wchar_t* part : {L"", L"\\admin", L"\\admin\\bin", L"\\admin\\bin64", L"\\admin\\logs"})
        EXPECT_TRUE(CreateDirectoryW((path_ + part).c_str(), nullptr)) << GetLastError();
}

ProductRoot::~ProductRoot()
{
    if (testing::Test::HasFailure())
        return; // kept to be looked at
    _wsystem((L"cmd /c rd /s /q \"" + path_ + L"\"").c_str());
}

std::wstring ProductRoot::log(const std::wstring& name) const
{
    const std::string bytes = readFile(logFile(name));
    std::wstring text((bytes.size() + 1) / 2, L'\0');
    memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}

std::wstring ProductRoot::logFile(const std::wstring& name) const
{
    return path_ + L"\\admin\\logs\\kelvolog_" + name + VDateTime::local().compactDate() + L".log";
}

std::string readFile(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

RegistrySandbox::RegistrySandbox()
{
    keyName_ = L"Software\\mendkit_test_" + std::to_wstring(GetCurrentProcessId());
    const UniqueRegistryKey key = registry::create(HKEY_CURRENT_USER, keyName_, KEY_ALL_ACCESS);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, key.get());
}

RegistrySandbox::~RegistrySandbox()
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, keyName_.c_str());
}

void RegistrySandbox::setConfig(const std::wstring& name, DWORD number)
{
    registry::set(configKey().get(), name, number);
}

void RegistrySandbox::setConfig(const std::wstring& name, const std::wstring& text)
{
    registry::set(configKey().get(), name, text);
}
