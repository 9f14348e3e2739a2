#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/Date.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Platform/Photos/PHCollection.hpp"
#include "Velmorant/DataSources/StitchableDataSource.hpp"

#include <memory>
#include <optional>

namespace velmorant {

/// The photo library as a data source: the user's screenshots, newest first, then the images of the album of stitched
/// ones in its order. Saves into that album, which it makes when it is missing.
///
/// A value: copies share the observer, its handlers and what it knows of the latest fetch, and the queue. Making one
/// touches nothing.
class PhotosStitchableDataSource final : public StitchableDataSource {
public:
    PhotosStitchableDataSource();

    StitchableDataSourcePermissionStatus permissionStatus() const override;
    void promptForPermission(std::function<void()> completion) override;
    /// `completion` is not called.
    void promptForLimitedSelection(const platform::UIViewController& from, std::function<void()> completion) override;
    void fetchItems(const platform::DispatchQueue& queue,
                    std::function<void(std::vector<StitchableItem>)> completion) override;
    /// Where the image cannot even be asked to be filed, `completion` is not called; where filing fails it may be
    /// called all the same, so whoever needs to know fetches anew.
    void save(const platform::UIImage& stitched, const Group& group, bool watermarked,
              std::function<void(StitchableItem)> completion) override;
    void deleteItems(const std::vector<StitchableItem>& items, std::function<void(bool)> completion) override;

    /// Only screenshots that came or went are announced, and only once access is granted.
    void watchForChanges(ChangeHandler changeHandler) override;
    /// Nothing is announced until `change` calls what it is handed; if it never does, no more at all.
    void performWithoutNotifiyingChanges(const SilentChange& change) override;

private:
    class Trampoline;

    std::shared_ptr<Trampoline> trampoline_;
    platform::DispatchQueue fetchQueue_; ///< serial
};

/// The first album at the top level that is titled "Davren".
std::optional<platform::PHAssetCollection> findStitchedAlbum();

/// Adds an asset to that album, which is made when it is missing. Within a change block.
void addToStitchedAlbum(const platform::PHObjectPlaceholder& asset);

/// A saved image carries its type in the fraction of its date: .631 s with a watermark, .630 s without. Rounded to
/// whole milliseconds; every other fraction is `prestitched`.
StitchableItem::ItemType itemType(const platform::Date& forCreationDate);

/// `date` cut to the whole second, with the fraction that marks the type.
platform::Date markedCreationDate(const platform::Date& date, bool watermarked);

} // namespace velmorant
