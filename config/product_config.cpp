#include "config/product_config.h"

#include "config/registry.h"
#include "runtime/path.h"

namespace config {

namespace {

/// A REG_DWORD of the configuration key that is queried often. The 1st, 17th, 33rd ... query reads the registry; the
/// others return the last number read, initially 0. A missing value leaves the number unchanged.
class CachedNumber
{
public:
    /// @param name  name of the value; not copied
    explicit constexpr CachedNumber(const wchar_t* name) noexcept : name_(name) {}

    /// Counts as a query. @throws vexception when it reads a value of the wrong type or size
    DWORD query()
    {
        constexpr unsigned queriesPerRead = 16;
        if (queries_++ % queriesPerRead == 0)
            lookup(name_, number_);
        return number_;
    }

    /// The last number read. Does not count as a query.
    DWORD cached() const noexcept { return number_; }

private:
    const wchar_t* name_;
    DWORD number_ = 0;
    unsigned queries_ = 0;
};

} // namespace

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
    registry::tryOpen(HKEY_LOCAL_MACHINE, configKey, KEY_READ | KEY_WOW64_32KEY, key);
    return key;
}

std::wstring installationDirectory()
{
    return path::normalise(registry::getstr(HKEY_LOCAL_MACHINE, configKey, L"PRODUCT_ROOT_D", configView));
}

std::wstring dataDirectory()
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
