#include "config/registry.h"

#include "runtime/vosexception.h"
#include "test/failure.h"
#include "test/sandbox.h"

#include <functional>

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

TEST_F(Registry, NamesWhatItCouldNotUse)
{
    setRaw(L"binary", REG_BINARY, "12345678", 8);
    setRaw(L"short", REG_DWORD, "12", 2);
    setRaw(L"number", REG_DWORD, "1234", 4);
    const UniqueRegistryKey opened = registry::open(HKEY_LOCAL_MACHINE, key, KEY_READ);
    DWORD number = 7;
    std::wstring text = L"before";
    const std::wstring notFound = systemMessage(ERROR_FILE_NOT_FOUND) + L" (Error code 2) at ";
    const std::wstring denied = systemMessage(ERROR_ACCESS_DENIED) + L" (Error code 5) at ";
    for (const auto& [call, message] :
        std::initializer_list<std::pair<std::function<void()>, std::wstring>>{
            {[&] { registry::lookup(opened.get(), L"binary", number); }, L"RegQueryValueEx invalid type of 'binary'"},
            {[&] { registry::lookup(opened.get(), L"short", number); }, L"RegQueryValueEx invalid size of 'short'"},
            {[&] { registry::getstr(HKEY_LOCAL_MACHINE, key, L"binary", 1); },
                L"RegGetValue invalid type of 'Software\\Test\\binary'"},
            {[&] { registry::getstr(HKEY_LOCAL_MACHINE, key, L"none", 1); },
                notFound + L"lookup subKey=Software\\Test value=none"},
            {[&] { registry::open(HKEY_LOCAL_MACHINE, L"no\\key", KEY_READ); },
                notFound + L"RegOpenKeyEx subKey=no\\key"},
            {[&] { registry::set(opened.get(), L"x", 1); }, denied + L"RegSetValueEx valueName=x"}})
        EXPECT_TRUE(failureOf(call).starts_with(message + L"\n   at (registry::")) << message;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, registry::lookup(opened.get(), L"none", text));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, registry::lookup(HKEY_LOCAL_MACHINE, L"no\\key", L"number", number, 1));
    EXPECT_EQ(7u, number);
    EXPECT_EQ(L"before", text);
}
