#include "Tests/Support/TestItems.hpp"
#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace velmorant {

using platform::Date;
using enum StitchableItem::ItemType;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

Group groupAt(double date) {
    return Group(itemsOf("a", date), Date{date});
}

} // namespace

TEST(Grouper, CutsWhereTimeOrSizeJumps) {
    struct Shot {
        double date;
        PixelSize size = {100, 200, 1};
        StitchableItem::ItemType type = unstitched;
    };
    struct Case {
        const char* what;
        double interval;
        std::vector<Shot> shots;
        std::string expected;
    };
    const PixelSize tall{100, 300, 1}, dense{100, 200, 2};
    for (const auto& [what, interval, shots, expected] : std::vector<Case>{
             {"nothing", 20, {}, "-"},
             {"a gap as long as the interval", 20, {{0}, {19.9}, {39.9}}, "ab c"},
             {"no gap to the one before, however long in all", 20, {{0}, {15}, {30}, {45}}, "abcd"},
             {"dates that go backwards", 20, {{100}, {90}, {60}, {79}}, "ab cd"},
             {"other sizes", 20, {{0}, {1, tall}, {2, tall}, {3, dense}, {4}}, "a bc d e"},
             {"what shows counts, not the watermark", 20, {{0}, {1, {100, 212, 1}, prestitchedWithWatermark}}, "ab"},
             {"no interval", 0, {{0}, {0}}, "a b"},
             {"a negative one", -1, {{0}, {0}}, "a b"},
             {"no number", notANumber, {{0}, {0}}, "a b"},
             {"for ever", infinity, {{-1e300}, {1e300}, {0, tall}}, "ab c"},
             {"dates that are no numbers", 20, {{notANumber}, {notANumber}, {infinity}, {infinity}}, "a b c d"},
         }) {
        std::vector<StitchableItem> items;
        for (const Shot& shot : shots)
            items.emplace_back(std::string(1, static_cast<char>('a' + items.size())), Date{shot.date}, shot.size,
                               shot.type);
        const auto groups = Grouper(interval, nullptr).process({Group(items)});
        EXPECT_EQ(lettersOf(groups), expected) << what;
    }
}

TEST(Grouper, ForgetsFormerGroups) {
    const auto items = itemsOf("abc");
    const auto groups = Grouper(20, nullptr)
                            .process({Group({items[0], items[1]}, Date{500}), Group(std::vector<StitchableItem>()),
                                      Group({items[2]}, Date{400})});
    EXPECT_EQ(groups, std::vector{Group(items)});
    EXPECT_EQ(groups[0].date(), items[0].date);
    EXPECT_EQ(Grouper(20, nullptr).process({}), std::vector{Group(std::vector<StitchableItem>())});
}

TEST(Steps, RewriteTheList) {
    struct Case {
        const PipelineStep& step;
        std::vector<std::string> groups;
        std::string expected;
    };
    const AddPrestitchedStep addPrestitched;
    const IgnoreEmptyOrSingleStep ignore;
    for (const auto& [step, groups, expected] : std::vector<Case>{
             {addPrestitched, {}, ""},
             {addPrestitched, {"aBc", "d", "EF"}, "B E F ac d -"},
             {addPrestitched, {"A"}, "A -"},
             {ignore, {"", "a", "B", "cd", "EF"}, "B cd EF"},
         })
        EXPECT_EQ(lettersOf(step.process(groupsOf(groups))), expected) << step.name();
}

TEST(Steps, PrestitchedItemsLeaveTheirGroupWithItsDate) {
    const auto groups = AddPrestitchedStep().process({Group(itemsOf("aBc"), Date{77})});
    EXPECT_EQ(groups[0].date(), Date{1}); // its own
    EXPECT_EQ(groups[1].date(), Date{77});
}

TEST(Steps, SortNewestFirstAndKeepTheOrderOfEquals) {
    const Group older = groupAt(10), noon(itemsOf("b"), Date{11}), alsoNoon(itemsOf("c"), Date{11}),
                newer = groupAt(12);
    EXPECT_EQ(SortGroupsStep().process({older, noon, newer, alsoNoon}), (std::vector{newer, noon, alsoNoon, older}));
    EXPECT_EQ(SortGroupsStep().process({alsoNoon, noon}), (std::vector{alsoNoon, noon}));
}

} // namespace velmorant
