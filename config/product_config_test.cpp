#include "config/product_config.h"

#include "config/registry.h"
#include "test/failure.h"
#include "test/registry_override.h"
#include "test/replaced_import.h"

namespace {

class Settings : public testing::Test
{
protected:
    static void store(DWORD type, const void* data, DWORD size)
    {
        const UniqueRegistryKey key =
            registry::create(HKEY_LOCAL_MACHINE, config::configKey, KEY_WRITE | KEY_WOW64_32KEY);
        EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(key.get(), L"v", 0, type, static_cast<const BYTE*>(data), size));
    }

    const RegistryOverride machine;
};

/// How many of the next queries give the value, up to 40.
template <typename Query, typename Value>
int repeats(const Query& query, const Value& value)
{
    int count = 0;
    while (count < 40 && query() == value)
        ++count;
    return count;
}

/// Has a text that fills all that it is given.
LSTATUS WINAPI readToTheBrim(HKEY, const wchar_t*, const wchar_t*, DWORD, DWORD* type, void* data, DWORD* size)
{
    *type = REG_SZ;
    std::fill_n(static_cast<wchar_t*>(data), *size / sizeof(wchar_t), L'x');
    return ERROR_SUCCESS;
}

} // namespace

TEST_F(Settings, AreReadByTheirType)
{
    const std::wstring path = L"SOFTWARE\\Kelvo\\ZRM Config\\Config", badText = L"!RegGetValue invalid type of '",
                       badNumber = L"!RegQueryValueEx invalid type of '",
                       badSize = L"!RegQueryValueEx invalid size of '";
    const std::wstring longText(1000, L'x');
    const struct
    {
        const char* name;
        DWORD type;
        std::wstring data;
        DWORD size;
        std::wstring text, number; // "!": a failure, without the name of the value
    } rows[] = {{"a text", REG_SZ, L"ab", 6, L"ab", badNumber}, {"unterminated", REG_SZ, L"ab", 4, L"ab", badNumber},
        {"empty", REG_SZ, L"", 0, L"", badNumber}, {"long", REG_SZ, longText, 2002, longText, badNumber},
        {"up to a zero", REG_SZ, std::wstring(L"a\0b", 3), 8, L"a", badNumber},
        {"expanded", REG_EXPAND_SZ, L"%none%", 14, L"%none%", badNumber},
        {"several texts", REG_MULTI_SZ, L"ab", 6, badText, badNumber},
        {"a number", REG_DWORD, L"\x102\x304", 4, badText, L"50594050"},
        {"bytes", REG_BINARY, L"\x102\x304", 4, badText, badNumber},
        {"a long number", REG_DWORD, L"\x102\x304", 6, badText, badSize},
        {"a short number", REG_DWORD, L"\x102\x304", 2, badText, badSize}};
    const auto expect = [](const char* name, const std::wstring& wanted, const std::wstring& failure,
                            const std::wstring& value, const std::wstring& shown) {
        const std::wstring got = failure == L"nothing thrown" ? value : L"!" + messageIn(failure);
        EXPECT_EQ(wanted.starts_with(L'!') ? wanted + shown + L"'" : wanted, got) << name;
    };
    for (const auto& row : rows) {
        store(row.type, row.data.data(), row.size);
        const UniqueRegistryKey key = config::openKey();
        std::wstring text;
        DWORD number = 0;
        const auto texts = [&](const std::wstring& shown, const auto& read) {
            expect(row.name, row.text, failureOf([&] { EXPECT_EQ(ERROR_SUCCESS, read()); }), text, shown);
        };
        texts(path + L"\\v", [&] { return config::lookup(L"v", text); });
        texts(L"v", [&] { return registry::lookup(key.get(), L"v", text); });
        const auto numbers = [&](const std::wstring& shown, const auto& read) {
            const std::wstring failure = failureOf([&] { EXPECT_EQ(ERROR_SUCCESS, read()); });
            expect(row.name, row.number, failure, std::to_wstring(number), shown);
        };
        numbers(path + L"\\v", [&] { return config::lookup(L"v", number); });
        numbers(L"v", [&] { return registry::lookup(key.get(), L"v", number); });
    }
    for (DWORD length = 250; length < 270; ++length) { // around the size that is read first
        const std::wstring stored(length, L'x');
        std::wstring text;
        store(REG_SZ, stored.data(), 2 * length);
        config::lookup(L"v", text);
        EXPECT_EQ(stored, text) << length;
    }
    DWORD number = 7;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, config::lookup(L"absent", number));
    EXPECT_EQ(7u, number);
    const auto fails = [](const std::wstring& end, const auto& call) {
        EXPECT_TRUE(messageIn(failureOf([&] { call(); })).ends_with(end)) << testing::PrintToString(end);
    };
    fails(L"(Error code 2) at lookup subKey=" + path + L" value=PRODUCT_ROOT_D", config::installationDirectory);
    fails(L"(Error code 2) at lookup subKey=" + path + L" value=PRODUCT_DATA_D", config::dataDirectory);
    fails(
        L"(Error code 2) at RegOpenKeyEx subKey=none", [] { registry::open(HKEY_LOCAL_MACHINE, L"none", KEY_READ); });
    const UniqueRegistryKey readable = registry::open(HKEY_LOCAL_MACHINE, path, KEY_READ | KEY_WOW64_32KEY);
    fails(L"(Error code 5) at RegSetValueEx valueName=x", [&] { registry::set(readable.get(), L"x", DWORD{1}); });
}

TEST_F(Settings, AreReadIntoTheBufferAndNoFurther)
{
    store(REG_SZ, L"", 0);
    const ReplacedImport read("RegGetValueW", readToTheBrim);
    std::wstring text;
    config::lookup(L"v", text);
    EXPECT_EQ(std::wstring(MAX_PATH + 1, L'x'), text) << "one letter of the buffer is for the final zero";
}

TEST_F(Settings, ThatAreQueriedOftenAreReadEvery16thTime)
{
    setConfig(L"Debug", 1);
    repeats(config::isDebug, false); // up to the next read, whatever ran before
    setConfig(L"Debug", 0);
    EXPECT_EQ(15, repeats(config::isDebug, true));
    setConfig(L"Debug", 2);
    EXPECT_EQ(15, repeats(config::isDebug, false));
    setConfig(L"Debug", L"text");
    EXPECT_EQ(15, repeats(config::isDebug, true)) << "a read that fails answers false";
    EXPECT_EQ(15, repeats(config::isDebug, true)) << "and keeps the number";
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE");
    EXPECT_EQ(40, repeats(config::isDebug, true)) << "a missing value keeps the number";

    const auto tries = [] { return config::pipeConnectTryCount(10); };
    setConfig(L"PipeConnectTryCount", 3);
    repeats([&] { return tries() == 3; }, false); // as above
    setConfig(L"PipeConnectTryCount", 0);
    EXPECT_EQ(15, repeats(tries, 3u));
    setConfig(L"PipeConnectTryCount", 4);
    EXPECT_EQ(15, repeats(tries, 10u)) << "the caller's own number";
    setConfig(L"PipeConnectTryCount", L"text");
    EXPECT_EQ(40, repeats(tries, 4u));
    setConfig(L"PipeConnectTryCount", 5);
    EXPECT_EQ(40, repeats(tries, 4u)) << "not read any more";
}
