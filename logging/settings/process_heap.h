#pragma once

#include <windows.h>

#include <new>
#include <type_traits>

/// Memory that any module of the process can free, whichever C run time it was built with.
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
