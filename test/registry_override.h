#pragma once

#include "config/product_config.h"
#include "config/registry.h"

#include <string>

/// Replaces HKEY_LOCAL_MACHINE by an empty key during its lifetime.
class RegistryOverride
{
public:
    RegistryOverride()
    {
        const UniqueRegistryKey key = registry::create(HKEY_CURRENT_USER, keyName_, KEY_ALL_ACCESS);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, key.get());
    }
    RegistryOverride(const RegistryOverride&) = delete;
    RegistryOverride& operator=(const RegistryOverride&) = delete;
    ~RegistryOverride()
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegDeleteTreeW(HKEY_CURRENT_USER, keyName_.c_str());
    }

private:
    const std::wstring keyName_ = L"Software\\mendkit_test_" + std::to_wstring(GetCurrentProcessId());
};

/// Sets a value of the product's configuration key, in the 32-bit view.
template <typename Value>
void setConfig(const std::wstring& name, const Value& value)
{
    registry::set(
        registry::create(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE | KEY_WOW64_32KEY).get(), name, value);
}
