#include "Velmorant/Store/StitchingStore.hpp"

#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Tests/Support/MemoryDataSource.hpp"
#include "Tests/Support/TestImages.hpp"
#include "Tests/Support/TestItems.hpp"
#include "Tests/Support/TestLogs.hpp"
#include "Velmorant/Alignment/AlignmentError.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <map>
#include <thread>

namespace velmorant {

using platform::DispatchQueue;
using platform::MainLoop;
using platform::UIImage;
using testing::IsEmpty;

namespace {

/// Drains the main queue until `condition` holds, which may come about on other threads.
void runUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!MainLoop::runUntil(condition, std::chrono::milliseconds(1)))
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

/// Answers at once or, while it is held back, when told; fails for groups that begin with "x".
class TestAligner final : public Aligner {
public:
    void alignment(const Group& group, const DispatchQueue& queue, platform::DispatchWorkItemFlags flags,
                   Completion completion) override {
        Result result = std::unexpected(make_error_code(AlignmentError::noAlignment));
        if (group.items().front().id != "x")
            result = Alignment({{group.items().front(), {}}}, {100, 200, 1});
        const auto answer = [=] { queue.async(flags, [=] { completion(result); }); };
        const platform::MutexLock lock(mutex_);
        ++asked_[group.id()];
        if (held_)
            answers_.push_back(answer);
        else
            answer();
    }
    void hold() {
        const platform::MutexLock lock(mutex_);
        held_ = true;
    }
    void release() {
        const platform::MutexLock lock(mutex_);
        held_ = false;
        for (const auto& answer : std::exchange(answers_, {}))
            answer();
    }
    std::map<std::string, int> asked() const {
        const platform::MutexLock lock(mutex_);
        return asked_;
    }

private:
    mutable platform::Mutex mutex_;
    bool held_ VELMORANT_GUARDED_BY(mutex_) = false;
    std::vector<std::function<void()>> answers_ VELMORANT_GUARDED_BY(mutex_);
    std::map<std::string, int> asked_ VELMORANT_GUARDED_BY(mutex_);
};

/// Draws what it is told to: one pixel, as wide as the target.
class TestRenderer final : public Renderer {
public:
    UIImage render(const Alignment& alignment) const override {
        ++drawn;
        while (held)
            std::this_thread::yield();
        return UIImage(platform::imageOf(alignment.size().width, 1, [](auto, auto) { return 0xffu; }));
    }
    mutable std::atomic<int> drawn = 0;
    std::atomic<bool> held = false;
};

struct Delegate final : StitchingStoreDelegate {
    void didUpdateGroups(const std::optional<Change>& change) override {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        changes.push_back(*change);
    }
    const std::thread::id mainThread = std::this_thread::get_id();
    std::vector<Change> changes;
};

class StitchingStoreTest : public testing::Test {
protected:
    ~StitchingStoreTest() override { source->endWatching(); }

    /// Everything submitted so far has run.
    void settle() {
        std::ignore = store->result(group("never"));
        bool done = false;
        DispatchQueue::main().async([&] { done = true; });
        runUntil([&] { return done; });
    }
    static Group group(const std::string& letters) { return Group(itemsOf(letters)); }
    static Alignment alignment(std::int64_t height) { return Alignment({{itemsOf("a")[0], {}}}, {100, height, 1}); }

    const std::shared_ptr<MemoryDataSource> source = std::make_shared<MemoryDataSource>();
    const std::shared_ptr<TestAligner> aligner = std::make_shared<TestAligner>();
    const std::shared_ptr<TestRenderer> renderer = std::make_shared<TestRenderer>();
    const std::shared_ptr<StitchingStore> store =
        StitchingStore::make(Pipeline(source, std::make_shared<Silence>()), aligner, renderer);
};

} // namespace

TEST_F(StitchingStoreTest, PublishesGroupsThatChangeAndEveryEmptyList) {
    const auto delegate = std::make_shared<Delegate>();
    store->setDelegate(delegate);
    struct Case {
        std::string items, groups;
        std::size_t changes;
    };
    settle();
    delegate->changes.clear();
    for (const auto& [items, groups, changes] :
         {Case{"ab", "ab", 1}, Case{"ab", "ab", 1}, Case{"abc", "abc", 2}, Case{"", "-", 3}}) {
        source->setItems(itemsOf(items));
        settle();
        EXPECT_EQ(lettersOf(store->groups()), groups);
        EXPECT_EQ(delegate->changes.size(), changes) << items;
    }
    EXPECT_EQ(delegate->changes[1].additions, (std::unordered_set<ChangeDescription>{{group("abc"), 0}}));
    EXPECT_EQ(delegate->changes[1].deletions, (std::unordered_set<ChangeDescription>{{group("ab"), 0}}));
}

TEST_F(StitchingStoreTest, AnalysesAGroupOnceAndKeepsTheResult) {
    aligner->hold();
    int answered = 0;
    for (int i = 0; i < 3; ++i)
        store->requestAnalysis(group("ab"), [&] {
            EXPECT_TRUE(store->result(group("ab"))->has_value());
            ++answered;
        });
    settle();
    EXPECT_EQ(answered, 0);
    EXPECT_FALSE(store->result(group("ab")));
    aligner->release();
    runUntil([&] { return answered == 3; });
    store->requestAnalysis(group("ab"), [&] { ++answered; });
    runUntil([&] { return answered == 4; });
    EXPECT_EQ(aligner->asked(), (std::map<std::string, int>{{"a_b", 1}}));

    store->requestAnalysis(group("xy"), [&] { ++answered; }); // an error is a result, too
    runUntil([&] { return answered == 5; });
    store->requestAnalysis(group("xy"), [&] { ++answered; });
    runUntil([&] { return answered == 6; });
    EXPECT_EQ(store->result(group("xy"))->error(), AlignmentError::noAlignment);
    EXPECT_EQ(aligner->asked()["x_y"], 1);
}

TEST_F(StitchingStoreTest, AnImageStitchedEarlierIsItsOwnAlignment) {
    const StitchableItem item("p", platform::Date{0}, {1000, 3000, 1},
                              StitchableItem::ItemType::prestitchedWithWatermark);
    const Group single(std::vector{item});
    bool answered = false;
    store->requestAnalysis(single, [&] { answered = true; });
    runUntil([&] { return answered; });
    EXPECT_EQ(**store->result(single), Alignment({{item, {0, {0, 2880}, {0, 2880}}}}, {1000, 2880, 1}));
    EXPECT_THAT(aligner->asked(), IsEmpty());
}

TEST_F(StitchingStoreTest, RendersAKeyOnceAndDropsOnlyCancelledCallbacks) {
    std::vector<int> answered;
    const auto request = [&](int number, const PixelSize& size) {
        return store->requestRender(alignment(200), size, [&answered, number](const std::optional<UIImage>& image) {
            EXPECT_TRUE(image);
            answered.push_back(number);
        });
    };
    const PixelSize small{100, 200, 1}, sameAtScale2{50, 100, 2};
    renderer->held = true;
    request(1, small);
    const auto cancelled = request(2, small);
    request(3, small);
    store->cancelRender(cancelled);
    store->cancelRender(platform::UUID::make()); // unknown
    runUntil([&] { return renderer->drawn == 1; });
    settle();
    renderer->held = false;
    runUntil([&] { return answered.size() == 2; });
    EXPECT_THAT(answered, testing::UnorderedElementsAre(1, 3));
    EXPECT_EQ(renderer->drawn, 1);

    renderer->held = true;                         // else it may be answered before it is cancelled
    store->cancelRender(request(4, sameAtScale2)); // another key; drawn and kept although nobody waits
    settle();
    renderer->held = false;
    runUntil([&] { return store->cache().image({alignment(200), sameAtScale2}).has_value(); });
    EXPECT_EQ(renderer->drawn, 2);
    store->cancelRender(request(5, sameAtScale2)); // too late: it is answered from the cache
    runUntil([&] { return answered.size() == 3; });
    EXPECT_EQ(answered.back(), 5);

    store->setCache({});
    request(6, small);
    runUntil([&] { return answered.size() == 4; });
    EXPECT_EQ(renderer->drawn, 3);
}

} // namespace velmorant
