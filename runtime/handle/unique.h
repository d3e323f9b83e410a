#pragma once

#include <utility>

/// The one owner of a system object: closes it on destruction, can be moved, cannot be copied.
/// Traits names the type of the value, the value that stands for "nothing owned", and how to close one.
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

    /// For system calls that return the object through a pointer; whatever was owned is closed first.
    Type* receive() noexcept
    {
        reset();
        return &value_;
    }

private:
    Type value_;
};
