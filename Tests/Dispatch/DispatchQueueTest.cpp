#include "Platform/Dispatch/DispatchQueue.hpp"

#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace platform {

using enum DispatchWorkItemFlags;
using namespace std::chrono_literals;

namespace {

void pause() {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
}

/// Waits for what pool threads bring about, draining the main queue meanwhile.
bool eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 20000; ++i)
        if (MainLoop::runUntil(condition, 1ms))
            return true;
    return false;
}

/// The pool's size for one test.
class PoolOf {
public:
    explicit PoolOf(std::size_t threads) { ThreadPool::shared().setLimit(threads); }
    ~PoolOf() { ThreadPool::shared().setLimit(usual_); }

private:
    const std::size_t usual_ = ThreadPool::shared().limit();
};

} // namespace

class DispatchQueueTest : public testing::TestWithParam<std::size_t> {
protected:
    const PoolOf pool{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(PoolSizes, DispatchQueueTest, testing::Values(1u, 2u, 4u));

TEST_P(DispatchQueueTest, SerialItemsRunInOrderOneAtATime) {
    const auto queue = DispatchQueue::serial("serial");
    std::vector<int> order; // unguarded on purpose: a second item at the same time would be a race
    for (int i = 0; i < 500; ++i)
        queue.async([&order, i] { order.push_back(i); });
    EXPECT_EQ(queue.sync([&] { return order.size(); }), 500u);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST_P(DispatchQueueTest, BarriersRunAloneAndNothingOvertakesThem) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto queue = DispatchQueue::concurrent("concurrent");
    std::atomic<int> readers = 0, writers = 0, broken = 0;
    std::atomic<int> barriersDone = 0;
    int barriersSubmitted = 0;
    for (int i = 0; i < 3000; ++i) {
        const bool isBarrier = random() % 8 == 0;
        const bool isSync = random() % 16 == 0;
        const auto block = [&, isBarrier, before = barriersSubmitted] {
            // Every barrier submitted before has ended, none submitted later has begun.
            broken += barriersDone != before;
            if (isBarrier) {
                broken += writers++ != 0 || readers != 0;
                --writers;
                ++barriersDone;
            } else {
                ++readers;
                broken += writers != 0;
                --readers;
            }
        };
        if (isSync)
            queue.sync(isBarrier ? barrier : none, block);
        else
            queue.async(isBarrier ? barrier : none, block);
        barriersSubmitted += isBarrier;
    }
    queue.sync(barrier, [] {});
    EXPECT_EQ(broken, 0);
    EXPECT_EQ(barriersDone, barriersSubmitted);
}

TEST_P(DispatchQueueTest, SyncBehindAQueuedBarrierFinishes) {
    const auto queue = DispatchQueue::concurrent("reader-writer");
    const auto waitBehindBarrier = [&queue] {
        int written = 0;
        queue.async([] { pause(); });
        queue.async(barrier, [&written] { written = 1; });
        return queue.sync([&written] { return written; });
    };

    EXPECT_EQ(waitBehindBarrier(), 1); // from the main thread
    int fromThread = 0;
    std::thread([&] { fromThread = waitBehindBarrier(); }).join();
    EXPECT_EQ(fromThread, 1);

    std::atomic<int> fromPool = 0; // from more pool threads than there are
    for (int i = 0; i < 16; ++i)
        DispatchQueue::global().async([&] { fromPool += waitBehindBarrier(); });
    EXPECT_TRUE(eventually([&] { return fromPool == 16; })) << fromPool;
}

TEST_P(DispatchQueueTest, SyncRunsOnTheCallingThread) {
    const auto queue = DispatchQueue::concurrent("concurrent");
    queue.async([] { pause(); });
    EXPECT_EQ(queue.sync(barrier, [] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

TEST_P(DispatchQueueTest, QueuesMayWaitForEachOther) {
    const auto outer = DispatchQueue::concurrent("outer");
    const auto inner = DispatchQueue::serial("inner");
    std::atomic<int> sum = 0;
    for (int i = 0; i < 100; ++i)
        outer.async([&] {
            inner.async([&] { ++sum; });
            inner.sync([&] { ++sum; });
        });
    outer.sync(barrier, [] {});
    inner.sync([] {});
    EXPECT_EQ(sum, 200);
}

TEST_P(DispatchQueueTest, ConcurrentPerformRunsEachIterationOnceAndNests) {
    for (const std::size_t count : {0u, 1u, 2u, 7u, 100u}) {
        std::vector<std::atomic<int>> seen(count * 3);
        DispatchQueue::concurrentPerform(count, [&](std::size_t i) {
            DispatchQueue::concurrentPerform(3, [&](std::size_t j) { ++seen[i * 3 + j]; });
        });
        for (const auto& times : seen)
            EXPECT_EQ(times, 1);
    }
    std::atomic<int> fromPool = 0; // all pool threads busy with it
    for (int i = 0; i < 8; ++i)
        DispatchQueue::global().async([&] {
            std::atomic<int> sum = 0;
            DispatchQueue::concurrentPerform(50, [&](std::size_t) { ++sum; });
            fromPool += sum;
        });
    EXPECT_TRUE(eventually([&] { return fromPool == 400; })) << fromPool;
}

TEST_P(DispatchQueueTest, TheMainQueueIsDrainedByItsLoopAlone) {
    const auto here = std::this_thread::get_id();
    std::atomic<int> onMain = 0;
    std::atomic<int> answers = 0;
    for (int i = 0; i < 4; ++i)
        DispatchQueue::global().async([&] {
            DispatchQueue::main().async([&] { onMain += std::this_thread::get_id() == here; });
            answers += DispatchQueue::main().sync([&] { return std::this_thread::get_id() == here; });
        });
    EXPECT_TRUE(eventually([&] { return answers == 4; }));
    EXPECT_EQ(onMain, 4);
    EXPECT_FALSE(MainLoop::runUntil([] { return false; }, 10ms));

    int afterStop = 0;
    MainLoop::stop();
    DispatchQueue::main().async([&] { afterStop = 1; });
    MainLoop::run();
    EXPECT_EQ(afterStop, 0);
    EXPECT_TRUE(MainLoop::runUntil([&] { return afterStop == 1; }, 1s));
}

TEST(DispatchQueue, AnItemMayHoldTheLastReferenceToItsQueue) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    {
        const auto queue = DispatchQueue::serial("short-lived");
        queue.async([queue, kept = std::move(held)] { pause(); });
    }
    for (int i = 0; i < 10000 && !watched.expired(); ++i)
        pause();
    EXPECT_TRUE(watched.expired());
}

} // namespace platform
