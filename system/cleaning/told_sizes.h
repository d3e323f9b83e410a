#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>

/// Holds the sizes that a listing told, for a caller that removes the entries in the order of the listing. Four bytes
/// for an entry of a few kilobytes: directories may have millions.
class ToldSizes
{
public:
    void add(std::wstring_view name, std::uint64_t bytes)
    {
        const std::uint16_t hash = shortHash(name);
        all_.push_back(static_cast<std::uint8_t>(hash));
        all_.push_back(static_cast<std::uint8_t>(hash >> 8));
        for (; bytes >= more; bytes >>= 7) // seven bits in a byte, the lowest first
            all_.push_back(static_cast<std::uint8_t>(bytes | more));
        all_.push_back(static_cast<std::uint8_t>(bytes));
    }

    /// The size of the next entry of this name; 0 when none of the next entries has it.
    std::uint64_t take(std::wstring_view name)
    {
        constexpr int reach = 64; // entries that were removed as directories, or not at all
        const std::uint16_t hash = shortHash(name);
        std::size_t at = 0;
        for (int entries = 0; at < all_.size() && entries < reach; ++entries) {
            const bool isFound = (all_[at] | all_[at + 1] << 8) == hash;
            std::uint64_t bytes = 0;
            at += 2;
            for (int shift = 0;; shift += 7) {
                const std::uint8_t part = all_[at++];
                bytes |= std::uint64_t{part & (more - 1U)} << shift;
                if (part < more)
                    break;
            }
            if (!isFound)
                continue;
            all_.erase(all_.begin(), all_.begin() + static_cast<std::ptrdiff_t>(at));
            return bytes;
        }
        return 0;
    }

private:
    static constexpr unsigned more = 0x80; // another byte follows

    static std::uint16_t shortHash(std::wstring_view name) noexcept
    {
        return static_cast<std::uint16_t>(std::hash<std::wstring_view>()(name));
    }

    std::deque<std::uint8_t> all_;
};
