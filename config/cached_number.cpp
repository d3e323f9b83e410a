#include "config/cached_number.h"

#include "config/product_config.h"

DWORD CachedNumber::query()
{
    constexpr unsigned queriesPerRead = 16;
    if (queries_++ % queriesPerRead == 0)
        config::lookup(name_, number_);
    return number_;
}
