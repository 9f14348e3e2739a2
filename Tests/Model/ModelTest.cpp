#include "Velmorant/Model/Geometry.hpp"
#include "Velmorant/Model/Group.hpp"
#include "Velmorant/Model/LogStore.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace velmorant {

using platform::Date;
using enum StitchableItem::ItemType;

namespace {

constexpr Date day{636000000};

StitchableItem item(std::string id, Date date = day, PixelSize size = {1170, 2532, 1},
                    StitchableItem::ItemType type = unstitched) {
    return {std::move(id), date, size, type};
}

} // namespace

TEST(StitchableItem, OnlyAWatermarkShortensWhatShows) {
    struct Case {
        StitchableItem::ItemType type;
        std::int64_t width, height, shown;
    };
    for (const auto& [type, width, height, shown] : {
             Case{unstitched, 1000, 3000, 3000}, Case{prestitched, 1000, 3000, 3000},
             Case{prestitchedWithWatermark, 1000, 3000, 2880}, Case{prestitchedWithWatermark, 1170, 5000, 4860},
             Case{prestitchedWithWatermark, 1001, 3000, 2880}, // 120.12 is truncated
         })
        EXPECT_EQ(item("a", day, {width, height, 1}, type).size(), (PixelSize{width, shown, 1})) << width;
}

TEST(Size, ConvertsByTruncation) {
    EXPECT_EQ((PixelSize{1170, 2532, 1}.rescaled(3)), (PixelSize{390, 844, 3}));
    EXPECT_EQ((PixelSize{390, 844, 3}.rescaled(1)), (PixelSize{1170, 2532, 1}));
    EXPECT_EQ((PixelSize{1125, 2436, 3}.rescaled(2)), (PixelSize{1687, 3654, 2}));
    EXPECT_EQ((PixelSize{390, 844, 3}.normalized()), (PixelSize{1170, 2532, 1}));
    EXPECT_EQ((PixelSize{1000, 999, 2} / 0.75), (PixelSize{1333, 1332, 2}));
    EXPECT_EQ((PixelSize{10, 20, 3} * 4), (PixelSize{40, 80, 3}));
    EXPECT_EQ(PixelSize::cg({10.9, -2.9}, 2), (PixelSize{10, -2, 2}));
}

TEST(Geometry, HelpersOnTheFrameworksRecords) {
    EXPECT_EQ(rectCentered({10, 20}, {4, 8}), (platform::CGRect{{8, 16}, {4, 8}}));
    EXPECT_EQ(midpoint({{8, 16}, {4, 8}}), (platform::CGPoint{10, 20}));
    EXPECT_EQ((platform::CGSize{3, 5} * 2), (platform::CGSize{6, 10}));
    EXPECT_EQ((platform::CGSize{3, 5} / 2), (platform::CGSize{1.5, 2.5}));
    EXPECT_EQ(std::hash<platform::CGSize>()({0.0, 1}), std::hash<platform::CGSize>()({-0.0, 1}));
    EXPECT_EQ(clamped(1.5, 0.0, 1.0), 1.0);
    EXPECT_EQ(clamped(-2.0, 0.0, 1.0), 0.0);
    EXPECT_EQ(clamped(7, 1, 0), 0); // bounds the wrong way round: the upper one
}

TEST(Group, TakesItsDateFromTheFirstItem) {
    const Date later{day.timeIntervalSinceReferenceDate + 60};
    EXPECT_EQ(Group({item("a", later), item("b", day)}).date(), later);
    EXPECT_EQ(Group({item("a", later)}, day).date(), day);
    EXPECT_EQ(Group({}).date(), Date::distantPast());
}

TEST(Group, IsIdentifiedByItsItemsButEqualByItsDateToo) {
    const Group group({item("a"), item("b")});
    const Group redated({item("a"), item("b")}, Date{0});
    EXPECT_EQ(group.id(), "a_b");
    EXPECT_EQ(redated.id(), "a_b");
    EXPECT_EQ(Group({}).id(), "");
    EXPECT_EQ((std::unordered_set<Group>{group, redated, Group({item("b"), item("a")}), group}).size(), 3u);
}

TEST(Group, IsPrestitchedWithOneStitchedItemOnly) {
    EXPECT_TRUE(Group({item("a", day, {1, 1, 1}, prestitched)}).prestitched());
    EXPECT_TRUE(Group({item("a", day, {1, 1, 1}, prestitchedWithWatermark)}).prestitched());
    EXPECT_FALSE(Group({item("a")}).prestitched());
    EXPECT_FALSE(Group({}).prestitched());
    EXPECT_FALSE(Group({item("a", day, {1, 1, 1}, prestitched), item("b", day, {1, 1, 1}, prestitched)}).prestitched());
}

TEST(Group, SortsNewestFirst) {
    const Group newer({}, Date{12}), older({}, Date{10});
    EXPECT_TRUE(newer < older);
    EXPECT_FALSE(older < newer);
    EXPECT_FALSE(newer < newer);
    EXPECT_TRUE(newer <= newer);
}

TEST(DebugDescription, OfItemsAndGroups) {
    // 2021-03-04 10:11:12 UTC
    const StitchableItem marked = item("x", Date{636545472}, {1170, 5000, 1}, prestitchedWithWatermark);
    EXPECT_EQ(marked.debugDescription(), "2021-03-04 10:11:12 +0000 (1170x4860)");
    EXPECT_EQ(debugDescription(std::vector{marked, marked}),
              "[2021-03-04 10:11:12 +0000 (1170x4860), 2021-03-04 10:11:12 +0000 (1170x4860)]");
    EXPECT_EQ(Group({marked}).debugDescription(), "Group x {\n2021-03-04 10:11:12 +0000 (1170x4860)\n}");
    EXPECT_EQ(Group({}).debugDescription(), "Group  {\n}");
}

TEST(LogStore, BuildsNoMessageThatNobodyRecords) {
    struct ErrorsOnly final : LogStore {
        std::vector<std::string> lines;
        void store(const Message& message, LogStoreType type) override {
            if (type >= LogStoreType::error)
                lines.push_back(message());
        }
    } log;
    int built = 0;
    const auto text = [&] { return std::to_string(++built); };
    log.debug(text);
    log.info(text);
    log.log(text, LogStoreType::default_);
    log.error(text);
    log.fault(text);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"1", "2"}));
}

} // namespace velmorant
