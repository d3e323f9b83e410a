#include "config/product_config.h"

#include "config/cached_number.h"
#include "config/registry.h"

namespace config {

LSTATUS lookup(const std::wstring& name, DWORD& number)
{
    return registry::lookup(HKEY_LOCAL_MACHINE, configKey, name, number, configView);
}

LSTATUS lookup(const std::wstring& name, std::wstring& text)
{
    return registry::lookup(HKEY_LOCAL_MACHINE, configKey, name, text, REG_SZ, configView);
}

UniqueRegistryKey openKey() noexcept
{
    UniqueRegistryKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, configKey, 0, KEY_READ | KEY_WOW64_32KEY, key.receive());
    return key;
}

std::wstring productRoot()
{
    return registry::getstr(HKEY_LOCAL_MACHINE, configKey, L"PRODUCT_ROOT_D", configView);
}

std::wstring productData()
{
    return registry::getstr(HKEY_LOCAL_MACHINE, configKey, L"PRODUCT_DATA_D", configView);
}

bool isDebug() noexcept
{
    static CachedNumber debug(L"Debug");
    try {
        return debug.query() != 0;
    } catch (...) {
        return false;
    }
}

DWORD pipeConnectTryCount(DWORD fallback) noexcept
{
    static CachedNumber tries(L"PipeConnectTryCount");
    static bool readable = true;
    try {
        if (readable)
            tries.query();
    } catch (...) {
        readable = false;
    }
    return tries.cached() != 0 ? tries.cached() : fallback;
}

} // namespace config
