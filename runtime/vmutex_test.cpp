#include "runtime/vmutex.h"

#include "runtime/handles.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

const std::wstring name = L"mendkit_test_mutex_" + std::to_wstring(GetCurrentProcessId());

DWORD waitFromAnotherThread(const UniqueHandle& mutex)
{
    DWORD result = 0;
    std::thread([&] { result = WaitForSingleObject(mutex.get(), 0); }).join();
    return result;
}

} // namespace

TEST(VMutex, TakesOverFromADeadOwnerAndReleasesOnce)
{
    const UniqueHandle other(CreateMutexW(nullptr, FALSE, name.c_str()));
    std::thread([&] { WaitForSingleObject(other.get(), INFINITE); }).join(); // dies with the mutex
    VMutex mutex(name);
    mutex.lock();
    EXPECT_EQ(WAIT_TIMEOUT, waitFromAnotherThread(other));
    mutex.unlock();
    EXPECT_EQ(WAIT_OBJECT_0, waitFromAnotherThread(other)) << "neither still held nor abandoned again";
}
