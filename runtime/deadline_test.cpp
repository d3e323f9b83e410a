#include "runtime/deadline.h"

#include "runtime/handle/handles.h"

#include <gtest/gtest.h>

TEST(Deadline, EndsOnlyTheCallThatLastsTooLong)
{
    struct Caller
    {
        UniqueHandle thread{OpenThread(THREAD_TERMINATE, FALSE, GetCurrentThreadId())};
        int expired = 0;
    } caller;
    const auto cancel = [](void* context) noexcept {
        ++static_cast<Caller*>(context)->expired;
        CancelSynchronousIo(static_cast<Caller*>(context)->thread.get());
    };
    Deadline deadline(50, cancel, &caller);
    const Deadline unused(0, cancel, &caller);
    UniqueFile reader, writer;
    ASSERT_TRUE(CreatePipe(reader.receive(), writer.receive(), nullptr, 0));
    char byte = 0;
    DWORD size = 0;
    const auto read = [&] { return ReadFile(reader.get(), &byte, 1, &size, nullptr) ? 0 : GetLastError(); };

    deadline.begin();
    EXPECT_EQ(DWORD{ERROR_OPERATION_ABORTED}, read()) << "nobody writes";
    deadline.end();
    EXPECT_GT(caller.expired, 0);

    caller.expired = 0;
    deadline.begin();
    deadline.end();
    Sleep(300);
    EXPECT_EQ(0, caller.expired) << "the call has returned";
}
