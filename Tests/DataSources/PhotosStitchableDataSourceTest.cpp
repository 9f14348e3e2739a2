#include "Velmorant/DataSources/PhotosStitchableDataSource.hpp"

#include "Platform/Dispatch/MainLoop.hpp"
#include "Tests/Support/TestItems.hpp"
#include "Tests/Support/TestLibrary.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>

namespace velmorant {

using namespace std::chrono_literals;
using platform::addAlbum;
using platform::addScreenshot;
using platform::Date;
using platform::PHAuthorizationStatus;
using platform::PHPhotoLibrary;
using testing::ElementsAre;
using testing::IsEmpty;
using ItemType = StitchableItem::ItemType;

class PhotosSourceTest : public testing::Test {
protected:
    std::vector<StitchableItem> fetched() {
        std::optional<std::vector<StitchableItem>> answer;
        source.fetchItems(platform::DispatchQueue::main(),
                          [&](std::vector<StitchableItem> items) { answer = std::move(items); });
        EXPECT_FALSE(answer); // never within the call
        EXPECT_TRUE(platform::MainLoop::runUntil([&] { return answer.has_value(); }, 20s));
        return answer.value_or(std::vector<StitchableItem>());
    }
    std::vector<std::string> fetchedIds() {
        std::vector<std::string> ids;
        for (const StitchableItem& item : fetched())
            ids.push_back(item.id);
        return ids;
    }
    std::optional<StitchableItem> saved(const Group& group, bool watermarked) {
        std::promise<StitchableItem> answer;
        source.save(platform::pictureOf(9, 30, 40), group, watermarked,
                    [&](StitchableItem item) { answer.set_value(std::move(item)); });
        return answer.get_future().get();
    }
    bool deletes(const std::vector<StitchableItem>& items) {
        std::promise<bool> deleted;
        source.deleteItems(items, [&](bool success) { deleted.set_value(success); });
        return deleted.get_future().get();
    }
    /// Waits until the handlers have been called so often.
    bool areCalled(int times) {
        return platform::MainLoop::runUntil([&] { return calls >= times; }, 20s);
    }
    /// Once all changes so far have been told.
    int settledCalls() {
        std::this_thread::sleep_for(200ms);
        return calls;
    }

    platform::TestDevice device;
    PhotosStitchableDataSource source;
    std::atomic<int> calls = 0;
    const PipelineStepObservable::ChangeHandler count = [this] {
        ++calls;
        platform::DispatchQueue::main().async([] {}); // wakes who waits
    };
};

TEST_F(PhotosSourceTest, ListsScreenshotsNewestFirstThenTheAlbum) {
    EXPECT_THAT(fetched(), IsEmpty());
    const std::string one = addScreenshot(60, 1), two = addScreenshot(120, 2), zero = addScreenshot(0, 3);
    std::optional<platform::PHObjectPlaceholder> folder;
    platform::perform([&] { folder = platform::PHCollectionListChangeRequest::creationRequestForCollectionList("F"); });
    addAlbum("Davren", {one}, folder);
    addAlbum("davren", {one});
    EXPECT_THAT(fetchedIds(), ElementsAre(two, one, zero)); // neither is the album
    addAlbum("Davren", {two, zero});
    addAlbum("Davren", {one});
    EXPECT_THAT(fetchedIds(), ElementsAre(two, one, zero, two, zero));
    const auto items = fetched();
    EXPECT_EQ(items[0], StitchableItem(two, Date{120}, PixelSize{8, 12, 1}, ItemType::unstitched));
    EXPECT_EQ(items[3].type, ItemType::prestitched);

    platform::perform([] {
        const auto undated = platform::PHAssetCreationRequest::creationRequestForAssetFromImage(platform::pictureOf(5));
        undated->setCreationDate(std::nullopt);
        undated->setMediaSubtypes(platform::PHAssetMediaSubtype::screenshot);
    });
    EXPECT_EQ(fetched()[3].date, Date::distantPast());
}

TEST_F(PhotosSourceTest, AccessIsMappedAndHonoured) {
    using Status = StitchableDataSourcePermissionStatus;
    const std::string id = addScreenshot(1);
    const struct {
        int stored;
        Status status;
        bool lists;
    } cases[] = {{0, Status::notRequested, false}, {1, Status::denied, false}, {2, Status::denied, false},
                 {3, Status::allowed, true},       {4, Status::limited, true}, {5, Status::denied, false}};
    for (const auto& [stored, status, lists] : cases) {
        ASSERT_TRUE(PHPhotoLibrary::shared()->setAuthorization(static_cast<PHAuthorizationStatus>(stored)));
        EXPECT_EQ(source.permissionStatus(), status) << stored;
        EXPECT_EQ(fetched().size(), lists ? 1 : 0) << stored;
    }
}

TEST_F(PhotosSourceTest, TheFractionOfTheDateTellsTheType) {
    const Date noon{43'200};
    const struct {
        double fraction;
        ItemType type;
    } cases[] = {{.6304, ItemType::prestitched},
                 {.6306, ItemType::prestitchedWithWatermark},
                 {.631, ItemType::prestitchedWithWatermark},
                 {.6314, ItemType::prestitchedWithWatermark},
                 {.6315, ItemType::prestitched},
                 {0, ItemType::prestitched},
                 {.9999999, ItemType::prestitched}};
    for (const auto& [fraction, type] : cases)
        EXPECT_EQ(itemType(Date{noon.timeIntervalSinceReferenceDate + fraction}), type) << fraction;
    for (const double second : {0.0, 636'546'030.987, -5.25, -63'000'000'000.5})
        for (const bool watermarked : {false, true}) {
            const Date marked = markedCreationDate(Date{second}, watermarked);
            EXPECT_NEAR(marked.timeIntervalSinceReferenceDate, std::floor(second) + (watermarked ? .631 : .63), 1e-5);
            EXPECT_EQ(itemType(marked), watermarked ? ItemType::prestitchedWithWatermark : ItemType::prestitched);
        }
}

TEST_F(PhotosSourceTest, SavesIntoOneAlbumThatTheFirstSaveMakes) {
    const Group group(itemsOf("ab", 100.75));
    const auto plain = saved(group, false), marked = saved(group, true);
    EXPECT_EQ(plain->type, ItemType::prestitched);
    EXPECT_EQ(marked->type, ItemType::prestitchedWithWatermark);
    EXPECT_NEAR(plain->date.timeIntervalSinceReferenceDate, 100.63, 1e-6);
    EXPECT_EQ(plain->assetSize, (PixelSize{30, 40, 1}));
    EXPECT_THAT(fetched(), ElementsAre(*plain, *marked));
    EXPECT_EQ(platform::PHCollection::fetchTopLevelUserCollections().size(), 1);

    ASSERT_TRUE(PHPhotoLibrary::shared()->setAuthorization(PHAuthorizationStatus::denied));
    bool isCalled = false;
    source.save(platform::pictureOf(1), group, false, [&](const StitchableItem&) { isCalled = true; });
    EXPECT_FALSE(deletes({*plain})); // behind the save on the library's queue
    EXPECT_FALSE(isCalled);
}

TEST_F(PhotosSourceTest, DeletesWhatIsThere) {
    const std::string a = addScreenshot(1, 1), b = addScreenshot(2, 2);
    const auto items = fetched();
    EXPECT_TRUE(deletes({items[0]}));
    EXPECT_THAT(fetchedIds(), ElementsAre(a));
    EXPECT_TRUE(deletes({items[0]})); // nothing is left to delete
    source.deleteItems({items[1]}, {});
    EXPECT_TRUE(deletes({}));
    EXPECT_THAT(fetched(), IsEmpty());
}

TEST_F(PhotosSourceTest, AnnouncesScreenshotsThatComeAndGo) {
    const std::string a = addScreenshot(1, 1);
    source.watchForChanges(count);
    EXPECT_EQ(calls, 1); // at the registration
    addAlbum("Any", {a});
    EXPECT_TRUE(areCalled(2)); // before the first fetch every change may matter
    fetched();

    addAlbum("Davren", {a});
    platform::perform([&] { platform::PHAssetChangeRequest::setCreationDate(platform::assetsNamed({a})[0], Date{7}); });
    EXPECT_EQ(settledCalls(), 2); // neither brings a screenshot nor takes one away
    addScreenshot(2, 2);
    EXPECT_TRUE(areCalled(3));
    platform::perform([&] { platform::PHAssetChangeRequest::deleteAssets(platform::assetsNamed({a})); });
    EXPECT_TRUE(areCalled(4));
}

TEST_F(PhotosSourceTest, IsSilentUntilTheChangeIsDone) {
    source.watchForChanges(count);
    fetched();
    std::function<void()> resume;
    PhotosStitchableDataSource copy = source; // copies share the observer
    copy.performWithoutNotifiyingChanges([&](const std::function<void()>& finished) {
        addScreenshot(1, 1);
        resume = finished;
    });
    addScreenshot(2, 2);
    EXPECT_EQ(settledCalls(), 1);
    resume();
    std::this_thread::sleep_for(100ms); // it is registered again in the background
    addScreenshot(3, 3);
    EXPECT_TRUE(areCalled(2));
}

TEST_F(PhotosSourceTest, ObservationBeginsWithTheAnswerToThePrompt) {
    addScreenshot(1, 1);
    const auto library = PHPhotoLibrary::shared();
    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::notDetermined));
    library->setPrompts({.authorization = [] { return PHAuthorizationStatus::authorized; }, .limitedSelection = {}});
    source.watchForChanges(count);
    fetched();
    EXPECT_EQ(calls, 1);
    std::atomic<bool> isAnswered = false;
    source.promptForPermission([&] { isAnswered = true; });
    EXPECT_TRUE(areCalled(2));
    EXPECT_TRUE(isAnswered);
    EXPECT_EQ(settledCalls(), 2);
    addScreenshot(2, 2);
    EXPECT_TRUE(areCalled(3));
}

TEST_F(PhotosSourceTest, TheChoiceOfALimitedAccessIsThePickers) {
    const std::string a = addScreenshot(1, 1);
    addScreenshot(2, 2);
    const auto library = PHPhotoLibrary::shared();
    library->setPrompts({.authorization = {}, .limitedSelection = [&] { return std::optional(std::vector{a}); }});
    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::limited));
    source.watchForChanges(count);
    EXPECT_EQ(fetched().size(), 2);
    source.promptForLimitedSelection({}, {});
    EXPECT_TRUE(areCalled(2));
    EXPECT_THAT(fetchedIds(), ElementsAre(a));
}

} // namespace velmorant
