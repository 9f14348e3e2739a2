#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Foundation/FailingWrites.hpp"
#include "Platform/Foundation/NotificationCenter.hpp"
#include "Tests/Support/TestItems.hpp"
#include "Tests/Support/TestLibrary.hpp"
#include "Velmorant/Curation/AddManuallyGroupedStep.hpp"
#include "Velmorant/Curation/IgnoreInAppScreenshotsStep.hpp"
#include "Velmorant/Curation/IgnoreUserDeletedStep.hpp"

#include <gmock/gmock.h>

namespace velmorant {

using namespace std::chrono_literals;
using platform::addScreenshot;
using platform::Date;

using platform::UserDefaults;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr const char* deletedKey = "RVNImageGroupDataSourceBlacklistGroupsKey";
constexpr const char* inAppKey = "IgnoreInAppScreenshotsStep";

class CurationTest : public testing::Test {
protected:
    platform::TestDevice device;
    int calls = 0;
    const PipelineStepObservable::ChangeHandler count = [this] { ++calls; };
};

using UserDeleted = CurationTest;

TEST_F(UserDeleted, ItemsLeaveAllGroups) {
    IgnoreUserDeletedStep step;
    step.watchForChanges(count);
    EXPECT_EQ(calls, 0);
    step.ignore(Group(itemsOf("ab")));
    EXPECT_EQ(calls, 1);
    const auto left = step.process(groupsOf({"abc", "d", "ba"}));
    EXPECT_EQ(lettersOf(left), "c d -");
    EXPECT_EQ(left[0].date(), Date{2}); // its first item's
    EXPECT_EQ(left[2].date(), Date::distantPast());
    EXPECT_EQ(step.process({Group(itemsOf("c"), Date{77})})[0].date(), Date{0}); // rebuilt in any case
    EXPECT_THAT(*UserDefaults::stringArray(deletedKey), UnorderedElementsAre("a", "b"));

    step.unignore(Group(itemsOf("x")));
    EXPECT_EQ(calls, 2);
    step.performWithoutNotifiyingChanges([&](const auto& finished) {
        EXPECT_FALSE(finished);
        step.unignore(Group(itemsOf("a")));
    });
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(lettersOf(IgnoreUserDeletedStep().process(groupsOf({"abc"}))), "ac"); // on the disk at once

    step.reset();
    EXPECT_EQ(lettersOf(step.process(groupsOf({"abc"}))), "ac");
    EXPECT_EQ(lettersOf(IgnoreUserDeletedStep().process(groupsOf({"abc"}))), "abc");
}

TEST_F(UserDeleted, StoredStringsMayHoldSeveralIds) {
    const struct {
        const char* stored;
        const char* left;
    } cases[] = {{R"(["x_y","z"])", "a"}, {R"(["x__y"])", "za"}, {R"("x")", "xyza"}, {"[1,2]", "xyza"}, {"[", "xyza"}};
    for (const auto& [stored, left] : cases) {
        std::filesystem::create_directories(device.home() / "Defaults");
        platform::writeFile(device.home() / "Defaults" / (std::string(deletedKey) + ".json"), stored);
        EXPECT_EQ(lettersOf(IgnoreUserDeletedStep().process(groupsOf({"xyza"}))), left) << stored;
    }
}

TEST_F(UserDeleted, WhatAnotherProcessWroteIsReadAgain) {
    IgnoreUserDeletedStep mine, another;
    another.ignore(Group(itemsOf("a")));
    EXPECT_EQ(lettersOf(mine.process(groupsOf({"ab"}))), "b");
    another.ignore(Group(itemsOf("b")));
    mine.ignore(Group(itemsOf("c")));
    EXPECT_EQ(lettersOf(IgnoreUserDeletedStep().process(groupsOf({"abcd"}))), "d"); // neither lost the other's
}

using ManuallyGrouped = CurationTest;

TEST_F(ManuallyGrouped, GroupsAreAddedAsTheyWereMade) {
    AddManuallyGroupedStep step;
    step.watchForChanges(count);
    const auto at = [](const char* letters, double hour) { return Group(itemsOf(letters), Date{hour}); };
    EXPECT_EQ(lettersOf(step.process({at("a", 10), at("b", 12)})), "b a");
    step.add(at("x", 9));
    step.performWithoutNotifiyingChanges([&](const auto&) { step.add(at("y", 11)); });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(lettersOf(step.process({at("a", 10), at("b", 12), at("x", 9)})), "b y a x x");

    AddManuallyGroupedStep later;
    EXPECT_EQ(later.process({}), (std::vector{at("y", 11), at("x", 9)}));
    EXPECT_FALSE(later.remove(at("x", 8)));
    EXPECT_TRUE(later.remove(at("x", 9)));
    step.add(at("z", 7));
    EXPECT_EQ(lettersOf(AddManuallyGroupedStep().process({})), "y z");
}

TEST_F(ManuallyGrouped, ADamagedFileIsSetAside) {
    const auto file = device.home() / "Documents" / "ManuallyGrouped.json";
    std::filesystem::create_directories(file.parent_path());
    for (const char* damaged : {"no json", R"([{"items":[]}])"}) {
        platform::writeFile(file, damaged);
        AddManuallyGroupedStep step;
        EXPECT_EQ(lettersOf(step.process({})), "");
        EXPECT_EQ(platform::contentOf(file), damaged);
        step.add(Group(itemsOf("a")));
        EXPECT_EQ(lettersOf(AddManuallyGroupedStep().process({})), "a");
    }
    EXPECT_EQ(platform::contentOf(file.native() + ".damaged-2"), R"([{"items":[]}])");
}

TEST_F(ManuallyGrouped, AFailureLeavesTheFileAsItWas) {
    AddManuallyGroupedStep step;
    step.add(Group(itemsOf("a")));
    int failures = 0;
    for (int n = 1;; ++n) {
        {
            const platform::FailingWrites failure(n);
            step.add(Group(itemsOf("b")));
            if (!failure.happened())
                break;
        }
        ++failures;
        const std::string stored = lettersOf(AddManuallyGroupedStep().process({}));
        EXPECT_TRUE(stored.starts_with("a")) << stored; // never half a file
    }
    EXPECT_GE(failures, 3);
}

using InApp = CurationTest;

TEST_F(InApp, TheNewestItemAtTheNoticeIsKeptOut) {
    const auto step = IgnoreInAppScreenshotsStep::make(PhotosStitchableDataSource());
    step->watchForChanges(count);
    const auto notify = [&] { platform::NotificationCenter::defaultCenter()->post(step->notification); };
    const auto stored = [] { return UserDefaults::stringArray(inAppKey).value_or(std::vector<std::string>()); };

    notify(); // nothing is there to record
    EXPECT_EQ(calls, 1);
    platform::MainLoop::runUntil([] { return false; }, 100ms);
    EXPECT_TRUE(stored().empty());

    const std::string old = addScreenshot(1, 1), newest = addScreenshot(2, 2);
    step->performWithoutNotifiyingChanges([&](const auto&) { notify(); });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(platform::MainLoop::runUntil([&] { return !stored().empty(); }, 20s));
    EXPECT_THAT(stored(), ElementsAre(newest));
    const auto item = [](const std::string& id) { return StitchableItem(id, Date{1}, {1, 1, 1}, {}); };
    const auto left = step->process({Group({item(newest), item(old)}), Group({item(newest)})});
    ASSERT_EQ(left.size(), 2);
    EXPECT_EQ(left[0].items().size(), 1);
    EXPECT_TRUE(left[1].items().empty());
}

TEST_F(InApp, StoredStringsAreTakenWhole) {
    UserDefaults::set(inAppKey, {"x_y"});
    const auto step = IgnoreInAppScreenshotsStep::make(PhotosStitchableDataSource());
    EXPECT_EQ(lettersOf(step->process(groupsOf({"xy"}))), "xy");
}

} // namespace velmorant
