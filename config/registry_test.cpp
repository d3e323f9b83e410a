#include "config/registry.h"

#include "test/sandbox.h"

namespace {

const std::wstring key = L"Software\\Test";

class Registry : public RegistrySandbox
{
protected:
    static void setRaw(const wchar_t* name, DWORD type, const void* data, DWORD size)
    {
        RegSetValueExW(registry::create(HKEY_LOCAL_MACHINE, key, KEY_WRITE).get(), name, 0, type,
            static_cast<const BYTE*>(data), size);
    }
};

} // namespace

TEST_F(Registry, ReadsTextsOfAnyShape)
{
    const std::wstring long_(5000, L'x');
    for (const auto& [type, data, text] : std::initializer_list<std::tuple<DWORD, std::wstring, std::wstring>>{
             {REG_SZ, L"abc", L"abc"}, {REG_SZ, std::wstring(L"ab\0cd\0", 6), L"ab"}, {REG_SZ, L"", L""},
             {REG_EXPAND_SZ, std::wstring(L"%SystemDrive%\\x\0", 16), L"C:\\x"}, {REG_SZ, long_, long_}}) {
        setRaw(L"text", type, data.data(), static_cast<DWORD>(data.size() * 2));
        EXPECT_EQ(text, registry::getstr(HKEY_LOCAL_MACHINE, key, L"text", 1));
    }
    setRaw(L"odd", REG_SZ, "a\0b", 3);
    EXPECT_EQ(L'a', registry::getstr(HKEY_LOCAL_MACHINE, key, L"odd", 1).at(0));
}
