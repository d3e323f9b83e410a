#pragma once

#include <utility>

/// The only owner of a system object: closes it on destruction; movable, not copyable.
/// @tparam Traits  the type of the value, its empty value and its closing call
template <typename Traits>
class Unique
{
public:
    using Type = typename Traits::Type;

    explicit Unique(Type value = Traits::empty()) noexcept : value_(value) {}
    Unique(Unique&& other) noexcept : value_(other.release()) {}
    Unique& operator=(Unique&& other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Unique() { reset(); }

    explicit operator bool() const noexcept { return value_ != Traits::empty(); }
    Type get() const noexcept { return value_; }
    Type release() noexcept { return std::exchange(value_, Traits::empty()); }

    void reset(Type value = Traits::empty()) noexcept
    {
        if (*this)
            Traits::close(value_);
        value_ = value;
    }

    /// For system calls that return the object through a pointer. Closes the owned object first.
    Type* receive() noexcept
    {
        reset();
        return &value_;
    }

private:
    Type value_;
};
