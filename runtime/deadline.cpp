#include "runtime/deadline.h"

#include <algorithm>

namespace {

class Lock
{
public:
    explicit Lock(SRWLOCK& lock) noexcept : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { ReleaseSRWLockExclusive(&lock_); }

private:
    SRWLOCK& lock_;
};

} // namespace

DWORD WINAPI Deadline::watch(void*) noexcept
{
    // Polls: a watched call then costs no system call, where waking a thread for each would cost two.
    constexpr DWORD interval = 100;
    for (;;) {
        Sleep(interval);
        const Lock locked(lock_);
        const ULONGLONG now = GetTickCount64();
        for (Deadline* deadline = first_; deadline; deadline = deadline->next_) {
            if (deadline->begun_ != 0 && now - deadline->begun_ >= deadline->limit_)
                deadline->expire_(deadline->context_);
        }
    }
}

Deadline::Deadline(DWORD milliseconds, Expire expire, void* context) noexcept
    : limit_(milliseconds), expire_(expire), context_(context)
{
    constexpr SIZE_T stack = SIZE_T{64} * 1024;
    const Lock locked(lock_);
    next_ = first_;
    first_ = this;
    if (isWatching_)
        return;
    if (const HANDLE thread =
            CreateThread(nullptr, stack, watch, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr)) {
        isWatching_ = true;
        CloseHandle(thread);
    }
}

Deadline::~Deadline()
{
    const Lock locked(lock_);
    Deadline** link = &first_;
    while (*link != this)
        link = &(*link)->next_;
    *link = next_;
}

void Deadline::begin() noexcept
{
    const Lock locked(lock_);
    begun_ = std::max<ULONGLONG>(GetTickCount64(), 1);
}

void Deadline::end() noexcept
{
    const Lock locked(lock_);
    begun_ = 0;
}
