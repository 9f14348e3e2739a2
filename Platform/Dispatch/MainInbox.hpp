#pragma once

#include "Platform/Dispatch/Mutex.hpp"

#include <chrono>
#include <deque>
#include <functional>

namespace platform {

/// The blocks that wait for the thread that drains the main queue; in order. Lives as long as the process.
class MainInbox {
public:
    static MainInbox& shared();

    void add(std::function<void()> block);

    /// Runs the next block, waiting for it until `deadline`; false when none came.
    bool runNext(std::chrono::steady_clock::time_point deadline);

private:
    Mutex mutex_;
    Condition added_;
    std::deque<std::function<void()>> blocks_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace platform
