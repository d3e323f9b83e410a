#pragma once

#include <windows.h>

#include <new>
#include <type_traits>

/// Records on the process heap, which modules with another C runtime can free.
namespace process_heap {

/// @throws std::bad_alloc
template <typename Record>
Record* create(const Record& value)
{
    static_assert(std::is_trivially_destructible_v<Record>);
    void* const memory = HeapAlloc(GetProcessHeap(), 0, sizeof(Record));
    if (!memory)
        throw std::bad_alloc();
    return new (memory) Record(value);
}

inline void destroy(void* record) noexcept
{
    HeapFree(GetProcessHeap(), 0, record);
}

} // namespace process_heap
