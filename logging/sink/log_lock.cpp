#include "logging/sink/log_lock.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

std::vector<std::wstring> givenUp;
std::size_t taken = 0; // so many of them were returned by takeGivenUp()

bool acquire(VMutex& mutex)
{
    constexpr DWORD patience = 2000;
    // First without asking for the owner: a mutex is mostly free.
    if (mutex.lock(0))
        return true;
    if (std::find(givenUp.begin(), givenUp.end(), mutex.name()) != givenUp.end())
        return false;
    if (mutex.lock(mutex.isTrusted() ? INFINITE : patience))
        return true;
    givenUp.push_back(mutex.name());
    return false;
}

} // namespace

LogLock::LogLock(VMutex& mutex) : mutex_(mutex), isHeld_(acquire(mutex))
{
}

LogLock::~LogLock()
{
    if (isHeld_)
        mutex_.unlock();
}

std::wstring LogLock::takeGivenUp()
{
    return taken < givenUp.size() ? givenUp[taken++] : std::wstring();
}
