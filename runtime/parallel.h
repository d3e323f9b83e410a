#pragma once

#include <cstddef>
#include <functional>

/// Calls work(0) ... work(count - 1), some of them at the same time: on the calling thread, and on a few of the
/// system's thread pool if it has any to give. Once one returns false, no more are begun. Returns when all that were
/// begun have ended.
/// @throws whatever one of the calls threw (the first, when there are several), faults included
void forEachInParallel(std::size_t count, const std::function<bool(std::size_t)>& work);
