#pragma once

/// Scopes of work that a supervisor of the thread may wait for or cancel as a unit. This program has no supervisor:
/// the scopes and depth() are part of the panel's operation frame.
namespace ThreadCancelation {

/// The number of scopes that the calling thread has entered.
int depth() noexcept;

/// Enters a scope for the life of the object, unless `enabled` is 0.
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
