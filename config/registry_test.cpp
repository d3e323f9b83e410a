#include "config/registry.h"

#include "config/cached_number.h"
#include "config/product_config.h"
#include "runtime/vosexception.h"
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

std::wstring messageOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const vexception& failure) {
        EXPECT_TRUE(std::string(failure.trail().front().site.function).starts_with("registry::"));
        return failure.message();
    }
    return L"nothing thrown";
}

} // namespace

TEST_F(Registry, ReadsWhatItWrote)
{
    const UniqueRegistryKey opened = registry::create(HKEY_LOCAL_MACHINE, key, KEY_ALL_ACCESS);
    registry::set(opened.get(), L"text", L"Ж x");
    registry::set(opened.get(), L"number", 0xfffffffe);
    std::wstring text;
    DWORD number = 0;
    EXPECT_EQ(ERROR_SUCCESS, registry::lookup(opened.get(), L"text", text));
    EXPECT_EQ(ERROR_SUCCESS, registry::lookup(opened.get(), L"number", number));
    EXPECT_EQ(L"Ж x", text);
    EXPECT_EQ(0xfffffffe, number);
    EXPECT_EQ(L"Ж x", registry::getstr(HKEY_LOCAL_MACHINE, key, L"text", 1));

    EXPECT_EQ(ERROR_FILE_NOT_FOUND, registry::lookup(opened.get(), L"none", text));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, registry::lookup(HKEY_LOCAL_MACHINE, L"no\\key", L"x", number, 1));
    EXPECT_EQ(L"Ж x", text) << "untouched";
    EXPECT_EQ(0xfffffffe, number) << "untouched";
}

TEST_F(Registry, ReadsTextsOfAnyShape)
{
    const std::wstring long_(5000, L'x');
    const struct
    {
        const wchar_t* name;
        DWORD type;
        std::wstring data, text;
    } rows[] = {
        {L"no terminator", REG_SZ, L"abc", L"abc"},
        {L"zero inside", REG_SZ, std::wstring(L"ab\0cd\0", 6), L"ab"},
        {L"empty", REG_SZ, L"", L""},
        {L"expanded", REG_EXPAND_SZ, std::wstring(L"%SystemDrive%\\x\0", 16), L"C:\\x"},
        {L"long", REG_SZ, long_, long_},
    };
    for (const auto& row : rows) {
        setRaw(row.name, row.type, row.data.data(), static_cast<DWORD>(row.data.size() * 2));
        EXPECT_EQ(row.text, registry::getstr(HKEY_LOCAL_MACHINE, key, row.name, 1))
            << testing::PrintToString(row.name);
    }
    setRaw(L"odd", REG_SZ, "a\0b", 3);
    EXPECT_EQ(L'a', registry::getstr(HKEY_LOCAL_MACHINE, key, L"odd", 1).at(0));
}

TEST_F(Registry, NamesWhatItCouldNotUse)
{
    setRaw(L"binary", REG_BINARY, "12345678", 8);
    setRaw(L"short", REG_DWORD, "12", 2);
    setRaw(L"qword", REG_QWORD, "12345678", 8);
    setRaw(L"number", REG_DWORD, "1234", 4);
    const UniqueRegistryKey opened = registry::open(HKEY_LOCAL_MACHINE, key, KEY_READ);
    DWORD number = 7;
    std::wstring text = L"before";
    const auto ofNumber = [&](const wchar_t* name) { registry::lookup(opened.get(), name, number); };

    EXPECT_EQ(L"RegQueryValueEx invalid type of 'binary'", messageOf([&] { ofNumber(L"binary"); }));
    EXPECT_EQ(L"RegQueryValueEx invalid type of 'qword'", messageOf([&] { ofNumber(L"qword"); }));
    EXPECT_EQ(L"RegQueryValueEx invalid size of 'short'", messageOf([&] { ofNumber(L"short"); }));
    EXPECT_EQ(L"RegQueryValueEx invalid type of 'Software\\Test\\binary'",
        messageOf([&] { registry::lookup(HKEY_LOCAL_MACHINE, key, L"binary", number, 1); }));
    EXPECT_EQ(
        L"RegGetValue invalid type of 'number'", messageOf([&] { registry::lookup(opened.get(), L"number", text); }));
    EXPECT_EQ(L"RegGetValue invalid type of 'Software\\Test\\binary'",
        messageOf([&] { registry::getstr(HKEY_LOCAL_MACHINE, key, L"binary", 1); }));
    const std::wstring notFound = systemMessage(ERROR_FILE_NOT_FOUND) + L" (Error code 2) at ";
    EXPECT_EQ(notFound + L"lookup subKey=Software\\Test value=none",
        messageOf([&] { registry::getstr(HKEY_LOCAL_MACHINE, key, L"none", 1); }));
    EXPECT_EQ(notFound + L"RegOpenKeyEx subKey=no\\key",
        messageOf([&] { registry::open(HKEY_LOCAL_MACHINE, L"no\\key", KEY_READ); }));
    EXPECT_TRUE(messageOf([&] { registry::set(opened.get(), L"x", 1); }).ends_with(L" at RegSetValueEx valueName=x"))
        << "the key is open for reading only";
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
        DWORD number = 0;
        while (times-- > 0)
            number = cached.query();
        return number;
    };
    EXPECT_EQ(0u, query(1));
    setConfig(L"Debug", 5);
    EXPECT_EQ(0u, query(15));
    EXPECT_EQ(5u, query(1));
    setConfig(L"Debug", L"text");
    EXPECT_EQ(5u, query(15));
    EXPECT_THROW(cached.query(), vexception);
    EXPECT_EQ(5u, query(15));
    EXPECT_THROW(cached.query(), vexception);
}

TEST_F(Registry, SwitchesSurviveValuesOfTheWrongType)
{
    setConfig(L"Debug", L"1");
    setConfig(L"PipeConnectTryCount", L"3");
    EXPECT_FALSE(config::isDebug());
    EXPECT_EQ(10u, config::pipeConnectTryCount(10));
    setConfig(L"Debug", 2);
    setConfig(L"PipeConnectTryCount", 3);
    for (int query = 2; query <= 16; ++query)
        EXPECT_FALSE(config::isDebug()) << query;
    EXPECT_TRUE(config::isDebug()) << "tried again";
    for (int query = 2; query <= 17; ++query)
        EXPECT_EQ(10u, config::pipeConnectTryCount(10)) << "not tried again";
}
