#include "Platform/Photos/PHAsset.hpp"

#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/Photos/AssetQuery-inl.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Platform/Photos/PHCollection.hpp"
#include "Platform/Photos/PHFetchResult.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"

namespace platform {

namespace fs = std::filesystem;

fs::path PHAsset::file() const {
    return PHPhotoLibrary::shared()->catalogue().originals() / fileName;
}

PHFetchResult PHAsset::fetchAssets(const PHFetchOptions& options) {
    return fetch({.options = options});
}

PHFetchResult PHAsset::fetchAssets(const PHAssetCollection& in, const PHFetchOptions& options) {
    return fetch({.options = options, .collection = in.localIdentifier()});
}

PHFetchResult PHAsset::fetchAssetsWithLocalIdentifiers(const std::vector<std::string>& identifiers,
                                                       const PHFetchOptions& options) {
    return fetch({.options = options, .identifiers = identifiers});
}

PHFetchResult PHAsset::fetchDeletedAssets() {
    return fetch({.deleted = AssetQuery::Deleted::yes});
}

PHFetchResult PHAsset::fetchAssetsWithContent(const fs::path& file) {
    ContentHash hash;
    if (!hash.addFile(file))
        return {{}, nullptr, 0};
    const PHFetchResult alike = fetch({.contentHash = hash.hex()});
    std::vector<PHAsset> same = alike.assets();
    std::erase_if(same, [&](const PHAsset& asset) { return !haveSameBytes(asset.file(), file); });
    return {std::move(same), alike.query(), alike.changeNumber()};
}

} // namespace platform
