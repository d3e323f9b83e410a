#pragma once

#include "runtime/handle/unique.h"
#include "runtime/late/late_imports.h"

template <typename Interface>
struct ComTraits
{
    using Type = Interface*;
    static Type empty() noexcept { return nullptr; }
    static void close(Type object) noexcept { object->Release(); }
};
/// One reference to a COM object.
template <typename Interface>
using UniqueCom = Unique<ComTraits<Interface>>;

struct BstrTraits
{
    using Type = BSTR;
    static Type empty() noexcept { return nullptr; }
    static void close(Type text) noexcept { late::SysFreeString.tryCall(text); }
};
/// A BSTR.
using UniqueBstr = Unique<BstrTraits>;
