#pragma once

/// Marks stretches of work that a supervisor of the thread may wait for or cancel as one piece.
namespace ThreadCancelation {

/// How many scopes the calling thread is inside of.
int depth() noexcept;

/// Enters a scope for the life of the object; with `enabled` 0 it marks nothing.
class CancelationPoint
{
public:
    explicit CancelationPoint(int enabled) noexcept;
    CancelationPoint(const CancelationPoint&) = delete;
    CancelationPoint& operator=(const CancelationPoint&) = delete;
    ~CancelationPoint();

private:
    int entered_;
};

} // namespace ThreadCancelation
