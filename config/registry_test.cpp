#include "config/registry.h"

#include "config/cached_number.h"
#include "config/product_config.h"
#include "runtime/vosexception.h"
#include "test/failure.h"
#include "test/sandbox.h"
#include "test/stress.h"

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

TEST_F(Registry, TakesBytesOfAnyTypeForWhatTheyAre)
{
    std::mt19937 random = seeded();
    const int count = rounds(1'000, 50'000);
    for (int round = 0; round < count; ++round) {
        const DWORD type = random() % 13;
        const std::string bytes = randomBytes(random, 9);
        setRaw(L"value", type, bytes.data(), static_cast<DWORD>(bytes.size()));
        DWORD number = 0;
        std::wstring text, units(bytes.size() / 2, L'\0');
        memcpy(units.data(), bytes.data(), units.size() * 2);
        const auto works = [](const auto& read) { return failureOf(read) == L"nothing thrown"; };
        ASSERT_EQ(type == REG_DWORD && bytes.size() == sizeof number,
            works([&] { registry::lookup(HKEY_LOCAL_MACHINE, key, L"value", number, 1); }));
        ASSERT_EQ(type == REG_SZ || type == REG_EXPAND_SZ,
            works([&] { text = registry::getstr(HKEY_LOCAL_MACHINE, key, L"value", 1); }));
        ASSERT_TRUE(text.empty() || text.starts_with(units.c_str())) << testing::PrintToString(bytes);
        // Wine expands an odd byte at the end with what lies behind it.
        ASSERT_TRUE(type == REG_EXPAND_SZ || text.size() <= units.size() + 1) << testing::PrintToString(bytes);
    }
    figure(count, "registry values of random type and bytes read");
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
            {[&] { registry::lookup(HKEY_LOCAL_MACHINE, key, L"binary", number, 1); },
                L"RegQueryValueEx invalid type of 'Software\\Test\\binary'"},
            {[&] { registry::lookup(opened.get(), L"number", text); }, L"RegGetValue invalid type of 'number'"},
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

TEST(RegistryViews, AreSeparate)
{
    const std::wstring own = L"SOFTWARE\\mendkit_test_" + std::to_wstring(GetCurrentProcessId());
    registry::set(registry::create(HKEY_LOCAL_MACHINE, own, KEY_WRITE | KEY_WOW64_32KEY).get(), L"in", 32);
    registry::set(registry::create(HKEY_LOCAL_MACHINE, own, KEY_WRITE | KEY_WOW64_64KEY).get(), L"in", 64);
    for (const auto& [view, in] : {std::pair{0, 64u}, {1, 32u}, {2, 64u}, {3, 64u}, {4, 64u}}) {
        DWORD number = 0;
        registry::lookup(HKEY_LOCAL_MACHINE, own, L"in", number, view);
        EXPECT_EQ(in, number) << view;
    }
    RegDeleteKeyExW(HKEY_LOCAL_MACHINE, own.c_str(), KEY_WOW64_32KEY, 0);
    RegDeleteKeyExW(HKEY_LOCAL_MACHINE, own.c_str(), KEY_WOW64_64KEY, 0);
}

TEST_F(Registry, CachedNumbersAreReadEverySixteenthTime)
{
    CachedNumber cached(L"Debug");
    const auto query = [&](int times) {
        for (; times > 1; --times)
            cached.query();
        return cached.query();
    };
    EXPECT_EQ(0u, query(1));
    setConfig(L"Debug", 5);
    EXPECT_EQ(0u, query(15));
    EXPECT_EQ(5u, query(1));
    setConfig(L"Debug", L"text");
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(5u, query(15));
        EXPECT_THROW(cached.query(), vexception);
    }
}
