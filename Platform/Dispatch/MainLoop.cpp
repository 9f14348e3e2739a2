#include "Platform/Dispatch/MainLoop.hpp"

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/MainInbox.hpp"

#include <atomic>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<bool> stopRequested = false;

} // namespace

MainInbox& MainInbox::shared() {
    static MainInbox& inbox = *new MainInbox; // never destroyed, as threads may outlive all static objects
    return inbox;
}

void MainInbox::add(std::function<void()> block) {
    const MutexLock lock(mutex_);
    blocks_.push_back(std::move(block));
    added_.notifyOne();
}

bool MainInbox::runNext(Clock::time_point deadline) {
    std::function<void()> block;
    {
        const MutexLock lock(mutex_);
        while (blocks_.empty()) {
            if (Clock::now() >= deadline)
                return false;
            added_.waitUntil(mutex_, deadline);
        }
        block = std::move(blocks_.front());
        blocks_.pop_front();
    }
    block();
    return true;
}

void MainLoop::run() {
    stopRequested = false;
    while (!stopRequested)
        MainInbox::shared().runNext(Clock::now() + std::chrono::hours(1));
}

void MainLoop::stop() {
    DispatchQueue::main().async([] { stopRequested = true; });
}

bool MainLoop::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    while (!condition())
        if (!MainInbox::shared().runNext(deadline))
            return condition();
    return true;
}

} // namespace platform
