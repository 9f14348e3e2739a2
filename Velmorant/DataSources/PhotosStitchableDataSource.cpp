#include "Velmorant/DataSources/PhotosStitchableDataSource.hpp"

#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Platform/Photos/PHFetchResult.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmorant {

using platform::Calendar;
using platform::Date;
using platform::DispatchQueue;
using platform::MutexLock;
using platform::PHAsset;
using platform::PHAuthorizationStatus;
using platform::PHCollection;
using platform::PHFetchResult;
using platform::PHPhotoLibrary;
using ItemType = StitchableItem::ItemType;

namespace {

constexpr const char* albumTitle = "Davren";
constexpr int plainMark = 630'000'000, watermarkMark = 631'000'000; // nanoseconds

PHAuthorizationStatus authorization() {
    const bool knowsLevels = platform::Device::current().operatingSystem >= platform::OperatingSystemVersion{14, 0};
    return knowsLevels ? PHPhotoLibrary::authorizationStatus(platform::PHAccessLevel::readWrite)
                       : PHPhotoLibrary::authorizationStatus();
}

StitchableItem itemOf(const PHAsset& asset, bool isStitched) {
    const Date date = asset.creationDate.value_or(Date::distantPast());
    return {asset.localIdentifier, date, PixelSize{asset.pixelWidth, asset.pixelHeight, 1},
            isStitched ? itemType(date) : ItemType::unstitched};
}

} // namespace

std::optional<platform::PHAssetCollection> findStitchedAlbum() {
    for (const PHCollection& collection : PHCollection::fetchTopLevelUserCollections())
        if (collection.kind() == PHCollection::Kind::album && collection.localizedTitle() == albumTitle)
            return collection.assetCollection();
    return std::nullopt;
}

void addToStitchedAlbum(const platform::PHObjectPlaceholder& asset) {
    using AlbumRequest = platform::PHAssetCollectionChangeRequest;
    const auto found = findStitchedAlbum();
    const auto album = found ? AlbumRequest::changeRequestForAssetCollection(*found)
                             : AlbumRequest::creationRequestForAssetCollection(albumTitle);
    if (album)
        album->addAssets({asset});
}

ItemType itemType(const Date& forCreationDate) {
    const int nanoseconds = Calendar::current().components(forCreationDate).nanosecond;
    const int rounded = (nanoseconds + 500'000) / 1'000'000 * 1'000'000;
    return rounded == watermarkMark ? ItemType::prestitchedWithWatermark : ItemType::prestitched;
}

Date markedCreationDate(const Date& date, bool watermarked) {
    const Calendar calendar = Calendar::current();
    platform::DateComponents components = calendar.components(date); // with their offset from GMT: the same moment
    components.nanosecond = watermarked ? watermarkMark : plainMark;
    return *calendar.date(components);
}

/// Hears of the library's changes. Never unregisters itself.
class PhotosStitchableDataSource::Trampoline final : public platform::PHPhotoLibraryChangeObserver {
public:
    void add(ChangeHandler handler) {
        const MutexLock lock(mutex_);
        changeHandlers_.push_back(std::move(handler));
    }
    void setFetchResult(PHFetchResult result) {
        const MutexLock lock(mutex_);
        fetchResult_ = std::move(result);
    }

    void callHandlers() const {
        for (const ChangeHandler& handler : known().first)
            handler();
    }

    void photoLibraryDidChange(const platform::PHChange& change) override {
        const auto [handlers, fetched] = known();
        if (fetched) {
            const auto details = change.changeDetails(*fetched);
            if (!details || (details->insertedObjects.empty() && details->removedObjects.empty()))
                return;
        }
        for (const ChangeHandler& handler : handlers)
            handler();
    }

private:
    std::pair<std::vector<ChangeHandler>, std::optional<PHFetchResult>> known() const {
        const MutexLock lock(mutex_);
        return {changeHandlers_, fetchResult_};
    }

    mutable platform::Mutex mutex_;
    std::vector<ChangeHandler> changeHandlers_ VELMORANT_GUARDED_BY(mutex_);
    std::optional<PHFetchResult> fetchResult_ VELMORANT_GUARDED_BY(mutex_); ///< of the latest fetch of screenshots
};

PhotosStitchableDataSource::PhotosStitchableDataSource()
    : trampoline_(std::make_shared<Trampoline>()),
      fetchQueue_(DispatchQueue::serial(platform::Device::current().hostIdentifier + ".photos",
                                        platform::DispatchQoS::userInteractive)) {}

StitchableDataSourcePermissionStatus PhotosStitchableDataSource::permissionStatus() const {
    using Status = StitchableDataSourcePermissionStatus;
    switch (authorization()) {
    case PHAuthorizationStatus::notDetermined:
        return Status::notRequested;
    case PHAuthorizationStatus::authorized:
        return Status::allowed;
    case PHAuthorizationStatus::limited:
        return Status::limited;
    case PHAuthorizationStatus::restricted:
    case PHAuthorizationStatus::denied:
        break;
    }
    return Status::denied; // and whatever else the system may know some day
}

void PhotosStitchableDataSource::promptForPermission(std::function<void()> completion) {
    PHPhotoLibrary::requestAuthorization(
        [trampoline = trampoline_, completion = std::move(completion)](PHAuthorizationStatus) {
            if (completion)
                completion();
            trampoline->callHandlers();
            PHPhotoLibrary::shared()->registerChangeObserver(trampoline);
        });
}

void PhotosStitchableDataSource::promptForLimitedSelection(const platform::UIViewController& from,
                                                           std::function<void()>) {
    if (platform::Device::current().operatingSystem >= platform::OperatingSystemVersion{14, 0})
        PHPhotoLibrary::shared()->presentLimitedLibraryPicker(from);
}

void PhotosStitchableDataSource::fetchItems(const DispatchQueue& queue,
                                            std::function<void(std::vector<StitchableItem>)> completion) {
    fetchQueue_.async([trampoline = trampoline_, queue, completion = std::move(completion)] {
        std::vector<StitchableItem> items;
        if (isAccessGranted(authorization())) {
            const PHFetchResult screenshots =
                PHAsset::fetchAssets({.predicate = platform::NSPredicate{"(mediaSubtype & %d) != 0",
                                                                         {platform::PHAssetMediaSubtype::screenshot}},
                                      .sortDescriptors = {{"creationDate", false}}});
            trampoline->setFetchResult(screenshots);
            items.reserve(screenshots.count());
            for (const PHAsset& asset : screenshots.assets())
                items.push_back(itemOf(asset, false));
            if (const auto album = findStitchedAlbum())
                for (const PHAsset& asset : PHAsset::fetchAssets(*album).assets())
                    items.push_back(itemOf(asset, true));
        }
        queue.async([completion, items = std::move(items)]() mutable { completion(std::move(items)); });
    });
}

void PhotosStitchableDataSource::save(const platform::UIImage& stitched, const Group& group, bool watermarked,
                                      std::function<void(StitchableItem)> completion) {
    struct Saved {
        platform::UIImage image;
        std::optional<platform::PHObjectPlaceholder> placeholder;
        std::optional<Date> date;
    };
    const auto saved = std::make_shared<Saved>(Saved{stitched, {}, {}});
    const auto changes = [saved, group, watermarked] {
        const auto request = platform::PHAssetCreationRequest::creationRequestForAssetFromImage(saved->image);
        if (!request)
            return;
        request->setCreationDate(markedCreationDate(group.date(), watermarked));
        saved->date = request->creationDate();
        saved->placeholder = request->placeholderForCreatedAsset();
        addToStitchedAlbum(*saved->placeholder);
    };
    PHPhotoLibrary::shared()->performChanges(
        changes, [saved, group, watermarked, completion = std::move(completion)](bool, const auto&) {
            if (!saved->placeholder || !completion)
                return;
            completion({saved->placeholder->localIdentifier, saved->date.value_or(group.date()),
                        PixelSize::cg(saved->image.size(), 1),
                        watermarked ? ItemType::prestitchedWithWatermark : ItemType::prestitched});
        });
}

void PhotosStitchableDataSource::deleteItems(const std::vector<StitchableItem>& items,
                                             std::function<void(bool)> completion) {
    std::vector<std::string> ids;
    std::ranges::transform(items, std::back_inserter(ids), &StitchableItem::id);
    PHPhotoLibrary::shared()->performChanges(
        [ids = std::move(ids)] {
            platform::PHAssetChangeRequest::deleteAssets(PHAsset::fetchAssetsWithLocalIdentifiers(ids).assets());
        },
        [completion = std::move(completion)](bool success, const auto&) {
            if (completion)
                completion(success);
        });
}

void PhotosStitchableDataSource::watchForChanges(ChangeHandler changeHandler) {
    if (isAccessGranted(authorization()))
        PHPhotoLibrary::shared()->registerChangeObserver(trampoline_);
    changeHandler();
    trampoline_->add(std::move(changeHandler));
}

void PhotosStitchableDataSource::performWithoutNotifiyingChanges(const SilentChange& change) {
    PHPhotoLibrary::shared()->unregisterChangeObserver(trampoline_);
    change([trampoline = trampoline_] {
        DispatchQueue::global().async([trampoline] { PHPhotoLibrary::shared()->registerChangeObserver(trampoline); });
    });
}

} // namespace velmorant
