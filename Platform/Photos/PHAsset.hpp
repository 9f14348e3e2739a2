#pragma once

#include "Platform/Foundation/Date.hpp"
#include "Platform/Photos/PHAssetMediaSubtype.hpp"
#include "Platform/Photos/PHFetchOptions.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace platform {

class PHAssetCollection;
class PHFetchResult;

/// A picture of the photo library as it was when it was fetched.
struct PHAsset {
    std::string localIdentifier; ///< random; stays the same for the asset's life
    std::optional<Date> creationDate = {};
    std::int64_t mediaSubtypes = PHAssetMediaSubtype::none;
    std::int64_t pixelWidth = 0;  ///< upright
    std::int64_t pixelHeight = 0; ///< upright
    std::string fileName;         ///< of the original, which may be gone: nobody keeps others from the folder

    /// Where the original lies.
    std::filesystem::path file() const;

    // Each is one query; any thread. Nothing is fetched without access, and only what the user chose where access is
    // limited; deleted assets are not fetched. A library that cannot be read answers nothing (`PHPhotoLibrary::check`).

    static PHFetchResult fetchAssets(const PHFetchOptions& options);
    static PHFetchResult fetchAssets(const PHAssetCollection& in, const PHFetchOptions& options = {});
    static PHFetchResult fetchAssetsWithLocalIdentifiers(const std::vector<std::string>& identifiers,
                                                         const PHFetchOptions& options = {});
    /// The deleted ones that can be restored still, whatever the access; the last deleted first.
    static PHFetchResult fetchDeletedAssets();
    /// Those whose original has the bytes of `file`; nothing where it cannot be read.
    static PHFetchResult fetchAssetsWithContent(const std::filesystem::path& file);
};

} // namespace platform
