#include "config/management_service/wire_format.h"

#include "runtime/text/code_page.h"

#include <cstring>

namespace vserializer {

namespace {

constexpr std::uint32_t failureMark = 0xffffffff; // in place of a text's length
constexpr char wideCharacters = 2, narrowCharacters = 1;

} // namespace

void writer::number(std::uint32_t value)
{
    message_.append(reinterpret_cast<const char*>(&value), sizeof value); // x64 is little-endian
}

void writer::bytes(std::string_view data)
{
    message_ += data;
}

void writer::text(std::wstring_view value)
{
    number(static_cast<std::uint32_t>(1 + value.size() * sizeof(wchar_t)));
    message_ += wideCharacters;
    message_.append(reinterpret_cast<const char*>(value.data()), value.size() * sizeof(wchar_t));
}

std::string_view reader::take(std::size_t count)
{
    if (count > rest_.size())
        throw invalidprotocol(L"Unexpected end of data when read from serializer.", {"vserializer::reader"});
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
}

std::uint32_t reader::number()
{
    std::uint32_t value;
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
    return value;
}

std::wstring reader::textOf(std::uint32_t length)
{
    if (length == 0)
        return {};
    std::string_view data = take(length);
    const char characterSize = data.front();
    data.remove_prefix(1);
    if (characterSize == narrowCharacters)
        return toWide(data, ansiCodePage);
    if (characterSize != wideCharacters) {
        throw invalidprotocol(L"Unsupported char size when read C-string from serializer.", {"vserializer::reader"});
    }
    std::wstring text(data.size() / sizeof(wchar_t), L'\0'); // drops an incomplete code unit
    std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    return text;
}

std::wstring reader::text()
{
    const std::uint32_t length = number();
    if (length == failureMark)
        throwSentFailure();
    return textOf(length);
}

void reader::throwSentFailure()
{
    std::wstring failure;
    try {
        failure = textOf(number()); // a second mark is a length beyond the end of every reply
    } catch (const invalidprotocol&) {
        throw vexception(L"Double exception on read from serializer", {"vserializer::reader"});
    }
    throw vexception(std::move(failure), {"vserializer::reader"});
}

} // namespace vserializer
