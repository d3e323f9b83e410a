#include "runtime/parallel.h"

#include "runtime/structured_exception.h"
#include "runtime/unique.h"

#include <windows.h>

#include <atomic>
#include <exception>

namespace {

struct PoolWorkTraits
{
    using Type = PTP_WORK;
    static Type empty() noexcept { return nullptr; }
    static void close(Type work) noexcept
    {
        WaitForThreadpoolWorkCallbacks(work, TRUE); // what has not begun need not
        CloseThreadpoolWork(work);
    }
};

struct Job
{
    std::size_t count;
    const std::function<bool(std::size_t)>& work;
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isOver = false;
    std::atomic_flag failed{};
    std::exception_ptr failure{};

    void takePart() noexcept
    {
        const structured_exception::TranslatorScope translator;
        try {
            for (std::size_t index; !isOver && (index = next++) < count;) {
                if (!work(index))
                    isOver = true;
            }
        } catch (...) {
            if (!failed.test_and_set())
                failure = std::current_exception();
            isOver = true;
        }
    }
};

} // namespace

void forEachInParallel(std::size_t count, const std::function<bool(std::size_t)>& work)
{
    constexpr int others = 2;
    Job job{count, work};
    {
        const Unique<PoolWorkTraits> pool(CreateThreadpoolWork(
            [](PTP_CALLBACK_INSTANCE, void* context, PTP_WORK) { static_cast<Job*>(context)->takePart(); }, &job,
            nullptr));
        for (int other = 0; pool && other < others; ++other)
            SubmitThreadpoolWork(pool.get());
        job.takePart();
    }
    if (job.failure)
        std::rethrow_exception(job.failure);
}
