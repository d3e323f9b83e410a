#include "runtime/operation/thread_cancelation.h"

namespace ThreadCancelation {

namespace {
thread_local int threadDepth = 0;
}

int depth() noexcept
{
    return threadDepth;
}

CancelationPoint::CancelationPoint(int enabled) noexcept : entered_(enabled ? 1 : 0)
{
    threadDepth += entered_;
}

CancelationPoint::~CancelationPoint()
{
    threadDepth -= entered_;
}

} // namespace ThreadCancelation
