#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Platform/Photos/PHCollection.hpp"
#include "Tests/Support/TestLibrary.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace platform {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class PhotoLibraryTest : public testing::Test {
protected:
    TestDevice device;
    const fs::path folder = device.home() / "Photos";
    const fs::path catalogue = folder / "Catalogue.sqlite";
};

const PHFetchOptions newestFirst{.predicate = NSPredicate{"(mediaSubtype & %d) != 0", {4}},
                                 .sortDescriptors = {{"creationDate", false}}};

TEST_F(PhotoLibraryTest, IsMadeByTheFirstChangeOnly) {
    EXPECT_TRUE(PHPhotoLibrary::shared()->check());
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(), PHAuthorizationStatus::authorized);
    EXPECT_THAT(PHAsset::fetchAssets(newestFirst).assets(), IsEmpty());
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_NE(addScreenshot(1), "");
    EXPECT_TRUE(fs::exists(catalogue));
}

TEST_F(PhotoLibraryTest, AFetchFiltersAndSorts) {
    const std::string b = addScreenshot(20, 1), a = addScreenshot(10, 2), c = addScreenshot(30, 3);
    std::string photo, undated;
    perform([&] {
        const auto request = PHAssetCreationRequest::creationRequestForAssetFromImage(pictureOf(4, 30, 20));
        photo = request->placeholderForCreatedAsset()->localIdentifier;
        const auto other = PHAssetCreationRequest::creationRequestForAssetFromImage(pictureOf(5));
        other->setCreationDate(std::nullopt);
        other->setMediaSubtypes(5);
        undated = other->placeholderForCreatedAsset()->localIdentifier;
    });
    EXPECT_THAT(idsOf(PHAsset::fetchAssets(newestFirst)), ElementsAre(c, b, a, undated));
    EXPECT_THAT(idsOf(PHAsset::fetchAssets({.sortDescriptors = {{"pixelWidth", false}, {"creationDate", true}}})),
                ElementsAre(photo, undated, a, b, c));
    for (const char* wrong : {"pixelWidth > %d", "1; DROP TABLE assets", "note IS NULL", "file = 3"})
        EXPECT_THAT(PHAsset::fetchAssets({.predicate = NSPredicate{wrong}}).assets(), IsEmpty()) << wrong;
    EXPECT_THAT(idsOf(PHAsset::fetchAssetsWithLocalIdentifiers({c, "nobody", a})), ElementsAre(a, c));
}

TEST_F(PhotoLibraryTest, OriginalsAreKeptOnceAndFoundByContent) {
    const std::string first = addScreenshot(1, 7), second = addScreenshot(1, 7), other = addScreenshot(2, 8);
    const auto assets = assetsNamed({first, second, other});
    EXPECT_EQ(assets[0].file(), assets[1].file());
    EXPECT_NE(assets[0].file(), assets[2].file());
    EXPECT_THAT(originalNames(folder / "Originals"), SizeIs(2));

    const auto image = CGImageSource::open(assets[0].file());
    ASSERT_TRUE(image);
    EXPECT_EQ(image->properties().captureDate->year, 2001);
    std::mt19937 random(7);
    EXPECT_TRUE(samePixels(image->image(), noiseImage(8, 12, random)));

    std::string copy;
    perform([&] {
        copy = PHAssetCreationRequest::creationRequestForAssetFromImageAtFileURL(assets[2].file())
                   ->placeholderForCreatedAsset()
                   ->localIdentifier;
    });
    EXPECT_THAT(idsOf(PHAsset::fetchAssetsWithContent(assets[2].file())), ElementsAre(other, copy));
    fs::remove(assets[2].file());
    EXPECT_THAT(PHAsset::fetchAssetsWithContent(assets[2].file()).assets(), IsEmpty());
}

TEST_F(PhotoLibraryTest, AllOfATransactionHappensOrNothing) {
    writeFile(device.home() / "text.png", "no picture");
    const auto failed = perform([&] {
        PHAssetCreationRequest::creationRequestForAssetFromImage(pictureOf(1));
        PHAssetCreationRequest::creationRequestForAssetFromImageAtFileURL(device.home() / "text.png");
    });
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->code, PhotoLibraryError::Code::badImage);
    EXPECT_EQ(failed->file, device.home() / "text.png");
    EXPECT_THAT(PHAsset::fetchAssets({}).assets(), IsEmpty());
    EXPECT_THAT(originalNames(folder / "Originals"), IsEmpty());
    EXPECT_EQ(PHAssetCreationRequest::creationRequestForAssetFromImage(pictureOf(1)), nullptr); // outside of changes
}

TEST_F(PhotoLibraryTest, DeletedAssetsWaitInTheTrashWithTheirPlaces) {
    const std::string a = addScreenshot(1, 1), b = addScreenshot(2, 1);
    addAlbum("Album", {b, a});
    const PHAssetCollection album = *PHCollection::fetchTopLevelUserCollections()[0].assetCollection();
    perform([&] { PHAssetChangeRequest::deleteAssets(assetsNamed({b})); });
    EXPECT_THAT(idsOf(PHAsset::fetchAssets(album)), ElementsAre(a));
    EXPECT_THAT(idsOf(PHAsset::fetchDeletedAssets()), ElementsAre(b));
    perform([&] { PHAssetChangeRequest::restoreAssets(PHAsset::fetchDeletedAssets().assets()); });
    EXPECT_THAT(idsOf(PHAsset::fetchAssets(album)), ElementsAre(b, a));

    perform([&] { PHAssetChangeRequest::deleteAssets(assetsNamed({b})); });
    EXPECT_EQ(PHPhotoLibrary::shared()->emptyTrash(PHPhotoLibrary::trashKeeps), 0);
    EXPECT_EQ(PHPhotoLibrary::shared()->emptyTrash(), 1);
    EXPECT_TRUE(fs::exists(assetsNamed({a})[0].file())); // the two shared it
    perform([&] { PHAssetChangeRequest::deleteAssets(assetsNamed({a})); });
    EXPECT_EQ(PHPhotoLibrary::shared()->emptyTrash(), 1);
    EXPECT_THAT(originalNames(folder / "Originals"), IsEmpty());
}

TEST_F(PhotoLibraryTest, AlbumsAndFoldersAreATree) {
    std::optional<PHObjectPlaceholder> inner;
    perform([&] { inner = PHCollectionListChangeRequest::creationRequestForCollectionList("Folder"); });
    addAlbum("Inside", {}, inner);
    addAlbum("Top", {addScreenshot(1)});
    const auto top = PHCollection::fetchTopLevelUserCollections();
    ASSERT_THAT(top, SizeIs(2));
    EXPECT_FALSE(top[0].assetCollection());
    EXPECT_EQ(top[1].assetCollection()->localizedTitle(), "Top");
    const auto inside = PHCollection::fetchCollections(top[0]);
    ASSERT_THAT(inside, SizeIs(1));
    EXPECT_EQ(inside[0].localizedTitle(), "Inside");
}

TEST_F(PhotoLibraryTest, AccessDecidesWhatIsSeen) {
    const std::string a = addScreenshot(1, 1), b = addScreenshot(2, 2);
    const auto library = PHPhotoLibrary::shared();
    ASSERT_TRUE(library->setLimitedSelection({a}));
    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::limited));
    const std::string mine = addScreenshot(3, 3); // what the application makes it sees
    EXPECT_THAT(idsOf(PHAsset::fetchAssets(newestFirst)), ElementsAre(mine, a));

    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::denied));
    EXPECT_THAT(PHAsset::fetchAssets(newestFirst).assets(), IsEmpty());
    EXPECT_EQ(addScreenshot(4), "");

    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::notDetermined));
    int asked = 0;
    library->setPrompts(
        {.authorization = [&] { return ++asked, PHAuthorizationStatus::authorized; }, .limitedSelection = {}});
    for (int i = 0; i < 2; ++i) {
        std::promise<PHAuthorizationStatus> answer;
        PHPhotoLibrary::requestAuthorization([&](PHAuthorizationStatus status) { answer.set_value(status); });
        EXPECT_EQ(answer.get_future().get(), PHAuthorizationStatus::authorized);
    }
    EXPECT_EQ(asked, 1);
    EXPECT_THAT(idsOf(PHAsset::fetchAssets(newestFirst)), ElementsAre(mine, b, a));
}

/// Waits for changes to be told.
class Listener final : public PHPhotoLibraryChangeObserver {
public:
    explicit Listener(PHFetchResult fetched) : fetched_(std::move(fetched)) {}

    void photoLibraryDidChange(const PHChange& change) override {
        const auto details = change.changeDetails(fetched_);
        const std::lock_guard lock(mutex_);
        details_ = details;
        ++count_;
        told_.notify_all();
    }
    /// The details told with the n-th change.
    std::optional<PHFetchResultChangeDetails> waitFor(int n) {
        std::unique_lock lock(mutex_);
        EXPECT_TRUE(told_.wait_for(lock, 20s, [&] { return count_ >= n; }));
        return details_;
    }
    int count() {
        const std::lock_guard lock(mutex_);
        return count_;
    }

private:
    const PHFetchResult fetched_;
    std::mutex mutex_;
    std::condition_variable told_;
    int count_ = 0;
    std::optional<PHFetchResultChangeDetails> details_;
};

TEST_F(PhotoLibraryTest, ObserversHearWhatAFetchWouldFindDifferently) {
    const std::string a = addScreenshot(1, 1), b = addScreenshot(2, 2);
    const auto library = PHPhotoLibrary::shared();
    const auto listener = std::make_shared<Listener>(PHAsset::fetchAssets(newestFirst));
    library->registerChangeObserver(listener);
    library->registerChangeObserver(listener);

    const std::string c = addScreenshot(3, 3);
    EXPECT_THAT(listener->waitFor(1)->insertedObjects, ElementsAre(c));
    perform([&] { PHAssetChangeRequest::deleteAssets(assetsNamed({a, c})); });
    const auto details = listener->waitFor(2);
    EXPECT_THAT(details->removedObjects, ElementsAre(a));
    EXPECT_THAT(details->insertedObjects, IsEmpty());
    perform([&] { PHAssetChangeRequest::setCreationDate(assetsNamed({b})[0], Date{5}); });
    EXPECT_THAT(listener->waitFor(3)->changedObjects, ElementsAre(b));
    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::denied));
    EXPECT_THAT(listener->waitFor(4)->removedObjects, ElementsAre(b, a));

    library->unregisterChangeObserver(listener);
    ASSERT_TRUE(library->setAuthorization(PHAuthorizationStatus::authorized));
    const auto other = std::make_shared<Listener>(PHAsset::fetchAssets({.predicate = NSPredicate{"pixelWidth > 99"}}));
    library->registerChangeObserver(other);
    addScreenshot(4, 4);
    EXPECT_EQ(other->waitFor(1), std::nullopt); // told of the change, which does not concern the fetch
    EXPECT_EQ(listener->count(), 4);
}

} // namespace platform
