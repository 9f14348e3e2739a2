#include "Platform/Dispatch/ThreadPool.hpp"

#include <algorithm>
#include <thread>

namespace platform {

namespace {

thread_local bool isPoolThread = false;

} // namespace

ThreadPool& ThreadPool::shared() {
    static ThreadPool& pool = *new ThreadPool; // never destroyed: its threads may outlive all static objects
    return pool;
}

ThreadPool::ThreadPool() : limit_(std::max(1u, std::thread::hardware_concurrency())) {}

void ThreadPool::submit(DispatchQoS qos, std::function<void()> block) {
    const MutexLock lock(mutex_);
    (qos == DispatchQoS::userInteractive ? urgent_ : blocks_).push_back(std::move(block));
    startThreads();
    wake_.notifyOne();
}

void ThreadPool::startThreads() {
    for (std::size_t waiting = urgent_.size() + blocks_.size(); idle_ < waiting && working_ < limit_;
         ++idle_, ++working_) {
        if (parked_ > 0) {
            --parked_;
            ++recalled_;
            recall_.notifyOne();
        } else {
            std::thread([this] { work(); }).detach();
        }
    }
}

void ThreadPool::work() {
    isPoolThread = true;
    for (;;) {
        std::function<void()> block;
        {
            const MutexLock lock(mutex_);
            while (urgent_.empty() && blocks_.empty() && working_ <= limit_)
                wake_.wait(mutex_);
            --idle_;
            if (working_ > limit_) { // a waiting thread came back, or the limit was lowered
                --working_;
                startThreads();
                wake_.notifyOne();
                if (parked_ >= limit_)
                    return;
                ++parked_;
                while (recalled_ == 0)
                    recall_.wait(mutex_);
                --recalled_;
                continue;
            }
            auto& from = urgent_.empty() ? blocks_ : urgent_;
            block = std::move(from.front());
            from.pop_front();
        }
        block();
        block = nullptr; // what it holds may do work of its own when it is let go
        const MutexLock lock(mutex_);
        ++idle_;
    }
}

ThreadPool::Waiting::Waiting() {
    if (!isPoolThread)
        return;
    ThreadPool& pool = shared();
    const MutexLock lock(pool.mutex_);
    --pool.working_;
    pool.startThreads();
}

ThreadPool::Waiting::~Waiting() {
    if (!isPoolThread)
        return;
    ThreadPool& pool = shared();
    const MutexLock lock(pool.mutex_);
    ++pool.working_;
    pool.wake_.notifyOne(); // an idle thread above the limit ends
}

std::size_t ThreadPool::limit() const {
    const MutexLock lock(mutex_);
    return limit_;
}

void ThreadPool::setLimit(std::size_t limit) {
    const MutexLock lock(mutex_);
    limit_ = std::max<std::size_t>(1, limit);
    startThreads();
    wake_.notifyAll();
}

} // namespace platform
