#include "config/registry.h"

#include "runtime/failure/vosexception.h"

#include <cwchar>
#include <vector>

namespace registry {

namespace {

REGSAM viewAccess(int view)
{
    switch (view) {
    case 1:
        return KEY_WOW64_32KEY;
    case 2:
    case 3:
        return KEY_WOW64_64KEY;
    default:
        return 0;
    }
}

[[noreturn]] void throwInvalid(const wchar_t* what, const std::wstring& value, RaiseSite site)
{
    throw vexception(what + (L" of '" + value + L"'"), site);
}

/// @param shownAs  the value's name in error texts
LSTATUS lookupNumber(HKEY key, const std::wstring& name, DWORD& number, const std::wstring& shownAs)
{
    DWORD type = REG_NONE, data = 0, size = sizeof data;
    const LSTATUS status = RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
        return status;
    if (type != REG_DWORD)
        throwInvalid(L"RegQueryValueEx invalid type", shownAs, {"registry::lookup"});
    if (size != sizeof data)
        throwInvalid(L"RegQueryValueEx invalid size", shownAs, {"registry::lookup"});
    number = data;
    return ERROR_SUCCESS;
}

bool isText(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

LSTATUS lookupText(
    HKEY key, const std::wstring& name, std::wstring& text, DWORD expected, const std::wstring& shownAs)
{
    const auto isUsable = [=](DWORD type) { return type == expected || (isText(type) && isText(expected)); };
    DWORD type = REG_NONE, size = MAX_PATH * sizeof(wchar_t); // enough for most: one read
    LSTATUS status = ERROR_MORE_DATA;
    std::vector<wchar_t> data;
    while (status == ERROR_MORE_DATA) {                 // again, as the value may change in between
        data.assign(size / sizeof(wchar_t) + 2, L'\0'); // + 1 for an odd byte, + 1 for the terminator
        size = static_cast<DWORD>((data.size() - 1) * sizeof(wchar_t));
        status = RegGetValueW(key, nullptr, name.c_str(), RRF_RT_ANY, &type, data.data(), &size);
        if ((status == ERROR_SUCCESS || status == ERROR_MORE_DATA) && !isUsable(type))
            throwInvalid(L"RegGetValue invalid type", shownAs, {"registry::lookup"});
    }
    if (status == ERROR_SUCCESS)
        text.assign(data.data(), wcsnlen(data.data(), data.size()));
    return status;
}

/// Opens the key for one read. @return the status of the open or of the read
template <typename Read>
LSTATUS withKey(HKEY root, const std::wstring& subKey, int view, Read read)
{
    UniqueRegistryKey key;
    const LSTATUS status = tryOpen(root, subKey.c_str(), KEY_QUERY_VALUE | viewAccess(view), key);
    return status == ERROR_SUCCESS ? read(key.get()) : status;
}

void setValue(HKEY key, const std::wstring& name, DWORD type, const void* data, std::size_t size)
{
    const LSTATUS status =
        RegSetValueExW(key, name.c_str(), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    if (status != ERROR_SUCCESS)
        throwOsError(static_cast<DWORD>(status), L"RegSetValueEx valueName=" + name, {"registry::set"});
}

} // namespace

LSTATUS tryOpen(HKEY root, const wchar_t* subKey, REGSAM access, UniqueRegistryKey& key) noexcept
{
    return RegOpenKeyExW(root, subKey, 0, access, key.receive());
}

UniqueRegistryKey open(HKEY root, const std::wstring& subKey, REGSAM access)
{
    UniqueRegistryKey key;
    const LSTATUS status = tryOpen(root, subKey.c_str(), access, key);
    if (status != ERROR_SUCCESS)
        throwOsError(static_cast<DWORD>(status), L"RegOpenKeyEx subKey=" + subKey, {"registry::open"});
    return key;
}

UniqueRegistryKey create(HKEY root, const std::wstring& subKey, REGSAM access)
{
    UniqueRegistryKey key;
    const LSTATUS status =
        RegCreateKeyExW(root, subKey.c_str(), 0, nullptr, 0, access, nullptr, key.receive(), nullptr);
    if (status != ERROR_SUCCESS)
        throwOsError(static_cast<DWORD>(status), L"RegCreateKeyEx subKey=" + subKey, {"registry::create"});
    return key;
}

LSTATUS lookup(HKEY key, const std::wstring& name, DWORD& number)
{
    return lookupNumber(key, name, number, name);
}

LSTATUS lookup(HKEY key, const std::wstring& name, std::wstring& text)
{
    return lookupText(key, name, text, REG_SZ, name);
}

LSTATUS lookup(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD& number, int view)
{
    return withKey(
        root, subKey, view, [&](HKEY key) { return lookupNumber(key, name, number, subKey + L"\\" + name); });
}

LSTATUS lookup(
    HKEY root, const std::wstring& subKey, const std::wstring& name, std::wstring& text, DWORD type, int view)
{
    return withKey(
        root, subKey, view, [&](HKEY key) { return lookupText(key, name, text, type, subKey + L"\\" + name); });
}

std::wstring getstr(HKEY root, const std::wstring& subKey, const std::wstring& name, int view)
{
    std::wstring text;
    const LSTATUS status = lookup(root, subKey, name, text, REG_SZ, view);
    if (status != ERROR_SUCCESS) {
        throwOsError(
            static_cast<DWORD>(status), L"lookup subKey=" + subKey + L" value=" + name, {"registry::getstr"});
    }
    return text;
}

void set(HKEY key, const std::wstring& name, const std::wstring& text)
{
    setValue(key, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

void set(HKEY key, const std::wstring& name, DWORD number)
{
    setValue(key, name, REG_DWORD, &number, sizeof number);
}

} // namespace registry
