#pragma once

#include "runtime/failure/vexception.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The management service's encoding of values: little-endian integers, texts with their length and character size.
namespace vserializer {

/// Bytes that are not a valid encoding.
class invalidprotocol : public vexception
{
public:
    using vexception::vexception;
};

/// Appends values to a message.
class writer
{
public:
    void number(std::uint32_t value);
    void bytes(std::string_view data);
    /// Appends a length of 1 + 2n bytes, the character size 2 and the n UTF-16 code units.
    void text(std::wstring_view value);

    const std::string& message() const noexcept { return message_; }

private:
    std::string message_;
};

/// Reads values in sequence, never beyond the given bytes, which must outlive the reader.
class reader
{
public:
    explicit reader(std::string_view bytes) noexcept : rest_(bytes) {}

    /// @throws invalidprotocol at the end of the bytes
    std::uint32_t number();

    /// @throws invalidprotocol; vexception with the service's text when it sent a failure instead
    std::wstring text();

private:
    std::string_view take(std::size_t count);
    std::wstring textOf(std::uint32_t length);
    [[noreturn]] void throwSentFailure();

    std::string_view rest_;
};

} // namespace vserializer
