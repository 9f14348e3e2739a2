#include "Platform/Dispatch/MainLoop.hpp"
#include "Tests/Store/PartsByChance.hpp"
#include "Tests/Support/MemoryDataSource.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Store/StitchingStore.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>

// Many threads ask a store for everything at once and let go of it; each round is a store of its own, and all that
// happens by chance follows from its seed. VELMORANT_ROUNDS and VELMORANT_SEED ask for more and for others.

namespace velmorant {

using platform::DispatchQueue;
using platform::MainLoop;
using platform::MutexLock;
using platform::UIImage;

namespace {

constexpr std::size_t threadCount = 8, operationsPerThread = 150;

/// What one request was answered. Written on any thread.
struct Request {
    std::size_t index; ///< of the group or key
    std::atomic<int> calls = 0;
    std::atomic<bool> cancelled = false;
    std::atomic<bool> dropped = false; ///< the cancellation has taken effect, and what was on its way has arrived
};

/// Hears of changes and retraces them.
class Retracer final : public StitchingStoreDelegate {
public:
    explicit Retracer(const std::weak_ptr<StitchingStore>& store) : store_(store) {}
    void didUpdateGroups(const std::optional<Change>& change) override {
        EXPECT_EQ(std::this_thread::get_id(), mainThread_);
        const auto store = store_.lock();
        ASSERT_TRUE(store && change);
        EXPECT_TRUE(store->groups() != known_ || known_.empty());
        for (const auto& [group, index] : change->deletions)
            EXPECT_EQ(std::erase(known_, group), 1u);
        for (const auto& [group, index] : change->additions)
            known_.push_back(group);
        EXPECT_TRUE(std::ranges::is_permutation(known_, store->groups()));
        known_ = store->groups();
        ++changes;
    }
    std::size_t changes = 0;

private:
    const std::weak_ptr<StitchingStore> store_;
    const std::thread::id mainThread_ = std::this_thread::get_id();
    std::vector<Group> known_;
};

/// The life of one store.
class Round : public std::enable_shared_from_this<Round> {
public:
    explicit Round(unsigned seed) : random_(seed), delays_(seed), abrupt_(seed % 2 == 1), clearsCache_(seed % 4 >= 2) {
        Pipeline pipeline(source_, std::make_shared<Silence>());
        pipeline.add(Grouper(20, nullptr));
        store_ = StitchingStore::make(std::move(pipeline), aligner_, renderer_);
        life_ = store_;
        retracer_ = std::make_shared<Retracer>(life_);
        store_->setDelegate(retracer_);
    }

    /// Answers how many operations were carried out.
    std::size_t live() {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < threadCount; ++i)
            threads.emplace_back([this, store = store_, seed = random_()]() mutable {
                work(std::move(store), std::mt19937(seed));
                ++ended_;
            });
        store_.reset();
        if (abrupt_)
            letGo();
        wait("threads that end", [this] {
            if (random_() % 8 == 0) {
                const MutexLock lock(sourceMutex_);
                source_->setItems(itemsOf(std::string(random_() % 4, 'a'), static_cast<double>(random_() % 3)));
            }
            return ended_ == threadCount;
        });
        for (std::thread& thread : threads)
            thread.join();
        if (!abrupt_)
            settle();
        letGo();
        wait("the store's end", [this] { return life_.expired(); });
        drain();
        gone_ = true;
        endAfterwards();
        return operations_;
    }

private:
    void work(std::shared_ptr<StitchingStore> store, std::mt19937 random) {
        std::vector<std::pair<platform::UUID, Request*>> rendered;
        const std::size_t end = abrupt_ ? random() % operationsPerThread : operationsPerThread;
        for (std::size_t i = 0; i < end; ++i, ++operations_) {
            const std::size_t group = random() % groupCount, key = random() % keyCount;
            const auto operation = random() % 100;
            if (operation < 35) {
                requestAnalysis(*store, group);
            } else if (operation < 65) {
                rendered.push_back(requestRender(*store, key));
                if (random() % 3 == 0)
                    store->cancelRender(cancelled(rendered.back()));
            } else if (operation < 75 && !rendered.empty()) {
                cancelForGood(*store, rendered[random() % rendered.size()]);
            } else if (operation < 80) {
                store->cancelRender(platform::UUID::make());
            } else if (operation < 84) {
                if (clearsCache_)
                    store->setCache({});
            } else if (operation < 92) {
                checkResult(*store, group);
            } else {
                const MutexLock lock(sourceMutex_);
                source_->notify();
            }
            delays_.delay();
        }
    }

    void requestAnalysis(StitchingStore& store, std::size_t group) {
        Request& request = added(analyses_, group);
        store.requestAnalysis(groupAt(group), [self = shared_from_this(), &request] {
            EXPECT_TRUE(std::this_thread::get_id() == self->mainThread_ || self->life_.expired());
            if (const auto there = self->life_.lock()) {
                EXPECT_TRUE(there->result(groupAt(request.index)));
            }
            EXPECT_EQ(++request.calls, 1);
        });
    }

    std::pair<platform::UUID, Request*> requestRender(StitchingStore& store, std::size_t key) {
        Request& request = added(renders_, key);
        const auto answer = [self = shared_from_this(), &request](const std::optional<UIImage>& image) {
            EXPECT_EQ(std::this_thread::get_id(), self->mainThread_);
            EXPECT_FALSE(self->gone_);
            EXPECT_FALSE(request.dropped);
            EXPECT_TRUE(image && image->size().height == static_cast<double>(10 + request.index));
            EXPECT_EQ(++request.calls, 1);
        };
        return {store.requestRender(alignmentAt(key), alignmentAt(key).size(), answer), &request};
    }

    static const platform::UUID& cancelled(const std::pair<platform::UUID, Request*>& request) {
        request.second->cancelled = true;
        return request.first;
    }

    void cancelForGood(StitchingStore& store, const std::pair<platform::UUID, Request*>& request) {
        store.cancelRender(cancelled(request));
        std::ignore = store.result(groupAt(0)); // comes after the cancellation
        DispatchQueue::main().async([self = shared_from_this(), request] { request.second->dropped = true; });
    }

    void checkResult(const StitchingStore& store, std::size_t group) {
        const auto result = store.result(groupAt(group));
        if (!result)
            return;
        const Manner manner = mannerOf(group);
        EXPECT_NE(manner, Manner::silent);
        if (manner == Manner::prestitched) {
            EXPECT_TRUE(*result && (*result)->size() == groupAt(group).items()[0].size());
        } else if (manner == Manner::failing) {
            EXPECT_TRUE(!*result && result->error() == AlignmentError::noAlignment);
        } else if (manner != Manner::matched) {
            EXPECT_TRUE(*result && **result == alignmentAt(group));
        }
    }

    /// Everything that can be answered is, and the last items are those that are shown.
    void settle() {
        wait("answers", [this] {
            return std::ranges::all_of(analyses_,
                                       [](const Request& request) {
                                           return request.calls == 1 || mannerOf(request.index) == Manner::silent;
                                       }) &&
                   std::ranges::all_of(renders_,
                                       [](const Request& request) { return request.calls == 1 || request.cancelled; });
        });
        for (std::size_t group = 0; group < groupCount; ++group)
            EXPECT_EQ(aligner_->runs[group], isRequested(group) && mannerOf(group) != Manner::prestitched);
        for (std::size_t key = 0; key < keyCount && !clearsCache_; ++key)
            EXPECT_LE(renderer_->runs[key], 1);
        for (const Request& request : analyses_)
            EXPECT_TRUE(mannerOf(request.index) != Manner::silent || request.calls == 0);
        ASSERT_FALSE(life_.expired()); // the source's handlers hold it
        source_->setItems(itemsOf("abc"));
        wait("the last groups", [this] { return lettersOf(life_.lock()->groups()) == "abc"; });
    }

    void letGo() {
        const MutexLock lock(sourceMutex_);
        source_->endWatching();
    }

    /// The store is gone. The aligner's late answers still reach the first to ask for a group, and nobody else.
    void endAfterwards() {
        const auto answered = callsOf(analyses_);
        aligner_->answerAll();
        wait("the end of all callbacks", [this] { return weak_from_this().use_count() == 1; });
        drain();
        for (std::size_t group = 0; group < groupCount && !abrupt_;
             ++group) { // what was not looked at yet is answered, too
            const int late = callsOf(analyses_)[group] - answered[group];
            EXPECT_EQ(late, mannerOf(group) == Manner::silent ? aligner_->runs[group].load() : 0);
        }
    }

    static std::array<int, groupCount> callsOf(const std::deque<Request>& requests) {
        std::array<int, groupCount> calls = {};
        for (const Request& request : requests)
            calls[request.index] += request.calls;
        return calls;
    }

    bool isRequested(std::size_t group) const {
        return std::ranges::any_of(analyses_, [&](const Request& request) { return request.index == group; });
    }

    /// Drains the main queue meanwhile.
    static void wait(const char* what, const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!MainLoop::runUntil(condition, std::chrono::milliseconds(1)))
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "waited in vain for " << what;
                std::abort(); // callbacks to come would find nothing
            }
    }

    /// All that is on its way to the main queue has arrived.
    static void drain() {
        bool done = false;
        DispatchQueue::main().async([&] { done = true; });
        wait("the main queue", [&] { return done; });
    }

    Request& added(std::deque<Request>& to, std::size_t index) {
        const MutexLock lock(requestsMutex_);
        return to.emplace_back(index);
    }

    std::mt19937 random_; ///< of the main thread
    chance::Delays delays_;
    const bool abrupt_;      ///< the store is let go in the midst of it
    const bool clearsCache_; ///< else no key is drawn twice
    const std::thread::id mainThread_ = std::this_thread::get_id();

    platform::Mutex sourceMutex_;
    const std::shared_ptr<MemoryDataSource> source_ = std::make_shared<MemoryDataSource>();
    const std::shared_ptr<ChanceAligner> aligner_ = std::make_shared<ChanceAligner>(delays_);
    const std::shared_ptr<ChanceRenderer> renderer_ = std::make_shared<ChanceRenderer>(delays_);
    std::shared_ptr<StitchingStore> store_;
    std::weak_ptr<StitchingStore> life_;
    std::shared_ptr<Retracer> retracer_;

    platform::Mutex requestsMutex_; ///< while they are added; they stay where they are
    std::deque<Request> analyses_, renders_;
    std::atomic<std::size_t> operations_ = 0, ended_ = 0;
    std::atomic<bool> gone_ = false;
};

} // namespace

TEST(StitchingStoreStress, KeepsItsPromisesUnderManyThreads) {
    const unsigned first = chance::numberFrom("VELMORANT_SEED", 0), rounds = chance::numberFrom("VELMORANT_ROUNDS", 8);
    std::size_t operations = 0;
    for (unsigned seed = first; seed < first + rounds && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        operations += std::make_shared<Round>(seed)->live();
    }
    RecordProperty("operations", static_cast<int>(operations));
    EXPECT_GT(operations, rounds * threadCount);
}

} // namespace velmorant
