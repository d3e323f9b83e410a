#include "test/sandbox.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "runtime/path.h"
#include "runtime/vdatetime.h"

#include <fstream>

namespace {

UniqueRegistryKey configKey()
{
    return registry::create(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE | KEY_WOW64_32KEY);
}

} // namespace

TempDirectory::TempDirectory()
{
    wchar_t base[MAX_PATH], name[MAX_PATH];
    GetTempPathW(MAX_PATH, base);
    GetTempFileNameW(base, L"mk", 0, name);
    DeleteFileW(name);
    path_ = makeDirectory(name);
}

TempDirectory::~TempDirectory()
{
    if (testing::Test::HasFailure())
        return; // kept to be looked at
    const std::wstring remove = L"cmd /c rd /s /q \"" + path_ + L"\"";
    _wsystem(remove.c_str());
}

std::wstring makeDirectory(const std::wstring& path)
{
    EXPECT_TRUE(CreateDirectoryW(path.c_str(), nullptr)) << GetLastError();
    return path;
}

std::string readFile(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::wstring debugLog(const std::wstring& productRoot)
{
    const std::string bytes = readFile(
        path::combine(productRoot, L"admin\\logs\\kelvolog_debug" + VDateTime::local().compactDate() + L".log"));
    std::wstring text(bytes.size() / 2, L'\0');
    memcpy(text.data(), bytes.data(), text.size() * 2);
    return text.substr(text.starts_with(L'\xfeff') ? 1 : 0);
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
