#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>

/// Holds the sizes that a listing told, for a caller that removes the entries in the order of the listing. Eight bytes
/// for each entry: directories may have millions.
class ToldSizes
{
public:
    void add(std::wstring_view name, std::uint64_t bytes) { all_.push_back({bytes, shortHash(name)}); }

    /// The size of the next entry of this name; 0 when none of the next entries has it.
    std::uint64_t take(std::wstring_view name) noexcept
    {
        constexpr std::size_t reach = 64; // entries that were removed as directories, or not at all
        const std::uint16_t hash = shortHash(name);
        for (std::size_t at = 0; at < all_.size() && at < reach; ++at) {
            if (all_[at].nameHash != hash)
                continue;
            const std::uint64_t bytes = all_[at].bytes;
            all_.erase(all_.begin(), all_.begin() + static_cast<std::ptrdiff_t>(at) + 1);
            return bytes;
        }
        return 0;
    }

private:
    struct Size
    {
        std::uint64_t bytes : 48; // 256 TiB
        std::uint64_t nameHash : 16;
    };
    static_assert(sizeof(Size) == 8);

    static std::uint16_t shortHash(std::wstring_view name) noexcept
    {
        return static_cast<std::uint16_t>(std::hash<std::wstring_view>()(name));
    }

    std::deque<Size> all_;
};
