#pragma once

#include "Platform/Dispatch/ThreadAnnotations.hpp"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace platform {

/// The one mutex of this code base: clang checks that what it guards is touched under it only.
class VELMORANT_CAPABILITY("mutex") Mutex {
public:
    void lock() VELMORANT_ACQUIRE() { mutex_.lock(); }
    void unlock() VELMORANT_RELEASE() { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

/// Holds a mutex for a scope.
class VELMORANT_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) VELMORANT_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() VELMORANT_RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
};

/// Waits with a mutex held; wakes up now and then without a reason, so callers loop over what they wait for.
class Condition {
public:
    void wait(Mutex& mutex) VELMORANT_REQUIRES(mutex) { condition_.wait(mutex); }
    void waitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline) VELMORANT_REQUIRES(mutex) {
        condition_.wait_until(mutex, deadline);
    }
    void notifyOne() { condition_.notify_one(); }
    void notifyAll() { condition_.notify_all(); }

private:
    std::condition_variable_any condition_;
};

} // namespace platform
