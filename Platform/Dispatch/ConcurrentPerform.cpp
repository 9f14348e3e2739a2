#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"

#include <algorithm>
#include <atomic>
#include <memory>

namespace platform {

namespace {

/// The iterations of one call, taken one by one by the caller and whoever of the pool has time. Helpers that come late
/// find nothing left and touch nothing but this shared state.
struct Iterations {
    explicit Iterations(std::size_t iterations) : count(iterations) {}

    const std::size_t count;
    std::atomic<std::size_t> next = 0;

    Mutex mutex;
    Condition allDone;
    std::size_t done VELMORANT_GUARDED_BY(mutex) = 0;

    void take(const std::function<void(std::size_t)>* block) {
        std::size_t mine = 0;
        for (std::size_t i = next++; i < count; i = next++, ++mine)
            (*block)(i);
        if (mine == 0)
            return;
        const MutexLock lock(mutex);
        done += mine;
        if (done == count)
            allDone.notifyOne();
    }
};

} // namespace

void DispatchQueue::concurrentPerform(std::size_t iterations, const std::function<void(std::size_t)>& block) {
    if (iterations == 0)
        return;
    ThreadPool& pool = ThreadPool::shared();
    const auto shared = std::make_shared<Iterations>(iterations);
    const std::size_t helpers = std::min(iterations, pool.limit()) - 1;
    for (std::size_t i = 0; i < helpers; ++i) // `block` outlives every iteration, and late helpers do not call it
        pool.submit(DispatchQoS::unspecified, [shared, block = &block] { shared->take(block); });
    shared->take(&block);

    {
        const MutexLock lock(shared->mutex);
        if (shared->done == iterations)
            return;
    }
    const ThreadPool::Waiting waiting;
    const MutexLock lock(shared->mutex);
    while (shared->done < iterations)
        shared->allDone.wait(shared->mutex);
}

} // namespace platform
