#pragma once

#include <cstddef>
#include <memory>
#include <vector>

/// Holds the memory of an EntryArena.
struct ArenaPieces
{
    std::vector<std::unique_ptr<std::byte[]>> all;
    std::byte* next = nullptr;
    std::size_t left = 0;
};

/// Allocates the nodes of a list from large pieces: a list of a million entries then has no block header per node.
/// The memory is freed with the last list that shares it, not with the single nodes.
template <typename T>
class EntryArena
{
public:
    using value_type = T;

    EntryArena() : pieces_(std::make_shared<ArenaPieces>()) {}
    template <typename Other>
    EntryArena(const EntryArena<Other>& other) noexcept : pieces_(other.pieces_)
    {
    }

    T* allocate(std::size_t count)
    {
        constexpr std::size_t pieceSize = std::size_t{64} * 1024;
        static_assert(alignof(T) == sizeof(void*) && sizeof(T) % alignof(T) == 0, "sizes keep the alignment");
        const std::size_t size = count * sizeof(T);
        if (pieces_->left < size) {
            pieces_->left = size > pieceSize ? size : pieceSize;
            pieces_->all.push_back(std::make_unique_for_overwrite<std::byte[]>(pieces_->left));
            pieces_->next = pieces_->all.back().get();
        }
        pieces_->left -= size;
        std::byte* const found = pieces_->next;
        pieces_->next += size;
        return reinterpret_cast<T*>(found);
    }
    void deallocate(T*, std::size_t) noexcept {}

    template <typename Other>
    bool operator==(const EntryArena<Other>& other) const noexcept
    {
        return pieces_ == other.pieces_;
    }

private:
    template <typename>
    friend class EntryArena;

    std::shared_ptr<ArenaPieces> pieces_;
};
