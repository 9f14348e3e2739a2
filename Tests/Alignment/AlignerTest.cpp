#include "Tests/Support/TestItems.hpp"
#include "Tests/Support/TestLogs.hpp"
#include "Velmorant/Alignment/AlignmentError.hpp"
#include "Velmorant/Alignment/LoaderLazyImage.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <map>
#include <thread>

namespace velmorant {

using orbelquist::KSVPattern;
using orbelquist::KSVPatternPair;
using testing::ElementsAre;

namespace {

constexpr KSVPattern (*down)(std::int64_t) = [](std::int64_t offset) { return KSVPattern(offset, 10, 20); };
const KSVPattern none;

std::vector<StitchableItem> items(const std::string& ids) {
    std::vector<StitchableItem> list = itemsOf(ids);
    for (StitchableItem& item : list)
        item.assetSize = {1170, 2532, 1};
    return list;
}

struct NoLoader final : Loader {
    void loadImage(const StitchableItem&, bool, const Completion& completion) override {
        ++calls;
        completion(std::nullopt);
    }
    std::atomic<int> calls = 0;
};

struct MemoryCache final : AlignerCache {
    std::optional<Alignment> alignment(const std::string& id) const override {
        return stored.contains(id) ? std::optional(stored.at(id)) : std::nullopt;
    }
    void setAlignment(const std::string& id, std::optional<Alignment> alignment) override {
        stored.insert_or_assign(id, *alignment);
    }
    std::map<std::string, Alignment> stored;
};

} // namespace

TEST(AlignmentGenerator, BestRunIsTheLongestAndTheFirstOfEquals) {
    struct Case {
        std::vector<bool> valid;
        std::string items; ///< "-": no run
    };
    for (const auto& [valid, expected] : {
             Case{{true, true, true, true}, "abcde"}, Case{{true, true, false, true}, "abc"},
             Case{{true, false, true, true}, "cde"}, Case{{false, true, false, true}, "bc"},
             Case{{false, false, false, true}, "de"}, Case{{false, false, false, false}, "-"},
             Case{{}, "abcde"}, // no pattern at all: all items
         }) {
        std::vector<KSVPattern> patterns;
        for (const bool isValid : valid)
            patterns.push_back(isValid ? down(100) : none);
        const auto run = AlignmentGenerator().bestRun(patterns, Group(items("abcde")));
        EXPECT_EQ(run ? lettersOf({Group(run->items)}) : "-", expected);
        if (run && !valid.empty()) {
            EXPECT_EQ(run->patterns.size() + 1, run->items.size());
        }
    }
}

TEST(AlignmentGenerator, PlacesDownwards) {
    const auto list = items("abc");
    const auto alignment =
        AlignmentGenerator().generateAlignment(list, {KSVPattern(1000, 1000, 500), KSVPattern(900, 950, 400)});
    const Alignment expected({{list[0], {0, {0, 1}, {0, 1}}},
                              {list[1], {1000, {1000, 1500}, {1000, 1500}}},
                              {list[2], {1900, {950, 1350}, {1950, 2350}}}},
                             {1170, 4432, 1});
    EXPECT_EQ(*alignment, expected);
}

TEST(AlignmentGenerator, PlacesUpwardsWhereTheFirstOffsetIsBelowOne) {
    // b lies 700 rows above a; row 900 of b is row 200 of a.
    for (const std::int64_t first : {-1000, 0}) {
        const auto list = items("abc");
        const auto alignment =
            AlignmentGenerator().generateAlignment(list, {KSVPattern(first, 1100, 50), KSVPattern(-900, 950, 40)});
        const Alignment expected({{list[2], {0, {0, 1}, {0, 1}}},
                                  {list[1], {900, {50, 90}, {50, 90}}},
                                  {list[0], {900 - first, {1100 + first, 1150 + first}, {2000 + first, 2050 + first}}}},
                                 {1170, 2532 + 900 - first, 1});
        EXPECT_EQ(*alignment, expected) << first;
    }
}

TEST(AlignmentGenerator, CanvasEndsWithTheLastItemsContent) {
    auto list = items("ab");
    list[1].assetSize = {1000, 3000, 1};
    list[1].type = StitchableItem::ItemType::prestitchedWithWatermark;
    const auto alignment = AlignmentGenerator().generateAlignment(list, {KSVPattern(100, 0, 10)});
    EXPECT_EQ(alignment->size(), (PixelSize{1000, 2980, 1}));
}

TEST(AlignmentGenerator, NeedsPatternsAndItems) {
    EXPECT_EQ(AlignmentGenerator().generateAlignment(items("a"), {}).error(), AlignmentError::noAlignment);
    EXPECT_EQ(AlignmentGenerator().generateAlignment({}, {down(1)}).error(), AlignmentError::noAlignment);
    const std::error_code error = AlignmentError::noAlignment;
    EXPECT_STREQ(error.category().name(), "Velmorant.AlignmentError");
    EXPECT_EQ(error.value(), 1);
}

TEST(OpenCVAligner, ChoosesBetweenDownAndUp) {
    const auto up = [](std::int64_t rows) { return KSVPattern(-rows, rows, 20); };
    struct Case {
        std::vector<KSVPatternPair> pairs;
        std::string items; ///< top to bottom; "-": refused
    };
    for (const auto& [pairs, expected] : std::vector<Case>{
             {{{down(100), none}, {down(100), none}}, "abc"},
             {{{none, up(100)}, {none, up(100)}}, "cba"},
             {{{down(100), up(100)}, {none, up(100)}}, "cba"},   // the longer run
             {{{down(100), up(100)}, {down(100), none}}, "abc"}, // the longer run
             {{{down(100), none}, {none, up(101)}}, "cb"},       // the taller canvas
             {{{down(101), none}, {none, up(101)}}, "ab"},       // equally tall: down
             {{{none, none}, {none, none}}, "-"},
         }) {
        auto log = std::make_shared<Lines>();
        OpenCVAligner aligner(std::make_shared<NoLoader>(), std::make_shared<MemoryCache>(), log);
        const auto run = aligner.chooseRun(pairs, Group(items("abc")));
        std::string got = "-";
        if (run) {
            got.clear();
            const auto alignment = AlignmentGenerator().generateAlignment(run->items, run->patterns);
            for (const auto& [item, position] : alignment->positions())
                got += item.id;
        }
        EXPECT_EQ(got, expected);
        EXPECT_THAT(log->lines, run ? testing::IsEmpty()
                                    : testing::Matcher<std::vector<std::string>>(
                                          ElementsAre("error: No valid patterns for a_b_c")));
    }
}

TEST(LoaderLazyImage, LoadsAnewEachTimeAndHandsOnNothing) {
    auto loader = std::make_shared<NoLoader>();
    LoaderLazyImage image(items("q").front(), loader);
    int absent = 0;
    for (int i = 0; i < 2; ++i)
        image.loadImage([&](std::optional<platform::UIImage> loaded) { absent += !loaded; });
    EXPECT_EQ(absent, 2);
    EXPECT_EQ(loader->calls, 2);
    EXPECT_EQ(image.description(), "q");
}

class AlignmentRequest : public testing::Test {
protected:
    /// The result as delivered on a queue of its own; whether that was asynchronous.
    Aligner::Result request(const Group& group) {
        const auto queue = platform::DispatchQueue::serial("test");
        std::promise<Aligner::Result> delivered;
        queue.sync([&] { // holds the queue: a result delivered inline would come now
            aligner.alignment(group, queue, platform::DispatchWorkItemFlags::barrier, [&](Aligner::Result result) {
                delivered.set_value(std::move(result));
                inside = holding.load();
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            holding = false;
        });
        auto result = delivered.get_future().get();
        queue.sync([] {});
        return result;
    }

    std::shared_ptr<NoLoader> loader = std::make_shared<NoLoader>();
    std::shared_ptr<MemoryCache> cache = std::make_shared<MemoryCache>();
    std::shared_ptr<Lines> log = std::make_shared<Lines>();
    std::vector<std::string> observed;
    OpenCVAligner aligner{loader, cache, log, [this](const Group& group, const OpenCVAligner::Pairs& pairs) {
                              observed.push_back(group.id() + " " + std::to_string(pairs.size()));
                          }};
    std::atomic<bool> holding = true, inside = true;
};

TEST_F(AlignmentRequest, AnswersFromTheCacheWithoutMatching) {
    const auto list = items("ab");
    const Alignment known({{list[0], {0, {0, 1}, {0, 1}}}}, {1, 2, 1});
    cache->stored.insert_or_assign("a_b", known);
    EXPECT_EQ(*request(Group(list)), known);
    EXPECT_FALSE(inside);
    EXPECT_EQ(loader->calls, 0);
    EXPECT_THAT(observed, testing::IsEmpty());
    EXPECT_THAT(log->lines, ElementsAre("Using cached alignment for a_b"));
}

TEST_F(AlignmentRequest, RefusesWhatMatchesNothing) {
    EXPECT_EQ(request(Group(items("ab"))).error(), AlignmentError::noAlignment);
    EXPECT_FALSE(inside);
    EXPECT_THAT(cache->stored, testing::IsEmpty());
    EXPECT_THAT(observed, ElementsAre("a_b 1"));
    EXPECT_THAT(log->lines,
                ElementsAre("Generating alignment for a_b", "Generating patterns for a_b",
                            testing::StartsWith("Patterns generated for a_b: ["), "error: No valid patterns for a_b"));
}

TEST_F(AlignmentRequest, RefusesALoneItemQuietly) {
    EXPECT_EQ(request(Group(items("a"))).error(), AlignmentError::noAlignment);
    EXPECT_THAT(log->lines, testing::Not(testing::Contains(testing::StartsWith("error"))));
}

} // namespace velmorant
