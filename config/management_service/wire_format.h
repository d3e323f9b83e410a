#pragma once

#include "runtime/failure/vexception.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The management service's encoding of values: little-endian integers, texts with length and character size.
namespace vserializer {

/// The bytes are not a valid encoding.
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

/// Reads values one after the other. Never reads past the end of its bytes.
class reader
{
public:
    /// @param bytes  must outlive this object
    explicit reader(std::string_view bytes) noexcept : rest_(bytes) {}

    /// @throws invalidprotocol at the end of the bytes
    std::uint32_t number();

    /// @throws invalidprotocol; vexception with the service's error text when the service reports a failure
    std::wstring text();

private:
    std::string_view take(std::size_t count);
    std::wstring textOf(std::uint32_t length);
    [[noreturn]] void throwSentFailure();

    std::string_view rest_;
};

} // namespace vserializer
