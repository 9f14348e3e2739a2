#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"

#include <deque>
#include <functional>

namespace platform {

/// The threads behind all queues: started when there is work, as many as cores. A thread that waits within its block
/// does not count: another takes its place, so `limit` threads always make progress. The pool lives as long as the
/// process; blocks still waiting when the process ends are not run. Nothing is promised after a `fork`.
class ThreadPool {
public:
    static ThreadPool& shared();

    /// `userInteractive` blocks start before all others.
    void submit(DispatchQoS qos, std::function<void()> block);

    /// Around a wait of any thread. For a thread of the pool another takes its place meanwhile.
    class Waiting {
    public:
        Waiting();
        ~Waiting();
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;
    };

    std::size_t limit() const;

    /// How many threads work at a time, at least 1; as many as cores at first. Those above the limit stop once they are
    /// free.
    void setLimit(std::size_t limit);

private:
    ThreadPool();
    void startThreads() VELMORANT_REQUIRES(mutex_);
    void work();

    mutable Mutex mutex_;
    Condition wake_;
    std::size_t limit_ VELMORANT_GUARDED_BY(mutex_);
    std::size_t working_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< threads started and not waiting within a block
    std::size_t idle_ VELMORANT_GUARDED_BY(mutex_) = 0;    ///< of these, those without a block
    Condition recall_;
    std::size_t parked_ VELMORANT_GUARDED_BY(mutex_) = 0;   ///< threads that were too many, until one waits again
    std::size_t recalled_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< of those that were parked, yet to notice
    std::deque<std::function<void()>> urgent_ VELMORANT_GUARDED_BY(mutex_);
    std::deque<std::function<void()>> blocks_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace platform
