#pragma once

#include "Platform/Photos/PHChangeRequests.hpp"
#include "Platform/Photos/PHFetchResult.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Tests/Support/TestImages.hpp"

#include <future>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Carries the changes out and waits for them. Nothing: they succeeded.
inline std::optional<PhotoLibraryError> perform(std::function<void()> changes) {
    std::promise<std::optional<PhotoLibraryError>> done;
    PHPhotoLibrary::shared()->performChanges(std::move(changes),
                                             [&](bool, const auto& error) { done.set_value(error); });
    return done.get_future().get();
}

/// A picture that differs from those of other seeds.
inline UIImage pictureOf(unsigned seed, std::int64_t width = 8, std::int64_t height = 12) {
    std::mt19937 random(seed);
    return UIImage(noiseImage(width, height, random));
}

/// Files a screenshot of that date; answers its identifier, empty where that failed.
inline std::string addScreenshot(double date, unsigned seed = 1) {
    std::string id;
    const auto failed = perform([&] {
        const auto request = PHAssetCreationRequest::creationRequestForAssetFromImage(pictureOf(seed));
        request->setCreationDate(Date{date});
        request->setMediaSubtypes(PHAssetMediaSubtype::screenshot);
        id = request->placeholderForCreatedAsset()->localIdentifier;
    });
    return failed ? "" : id;
}

/// Makes an album of assets that are there already.
inline void addAlbum(const std::string& title, const std::vector<std::string>& ids,
                     const std::optional<PHObjectPlaceholder>& folder = std::nullopt) {
    perform([&] {
        const auto album = PHAssetCollectionChangeRequest::creationRequestForAssetCollection(title, folder);
        std::vector<PHObjectPlaceholder> assets;
        for (const std::string& id : ids)
            assets.push_back({id});
        album->addAssets(assets);
    });
}

inline std::vector<std::string> idsOf(const PHFetchResult& result) {
    std::vector<std::string> ids;
    for (const PHAsset& asset : result.assets())
        ids.push_back(asset.localIdentifier);
    return ids;
}

inline std::vector<PHAsset> assetsNamed(const std::vector<std::string>& ids) {
    return PHAsset::fetchAssetsWithLocalIdentifiers(ids).assets();
}

} // namespace platform
