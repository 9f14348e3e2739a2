#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Photos/PHCollection.hpp"
#include "Platform/Photos/PHFetchResult.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"
#include "Platform/Photos/PhotoCatalogue-inl.hpp"
#include "Tests/Support/TestLibrary.hpp"
#include "Velmorant/DataSources/PhotosStitchableDataSource.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"

#include "Fuzz/Require.hpp"

#include <fstream>

// A library whose catalogue is damaged: the input lists places of the file (three bytes) and what stands there instead
// (one), or is itself the catalogue where it begins as one does. Reading, grouping, changing and emptying the trash
// succeed or fail, and no file outside of the originals is touched.

namespace {

using namespace platform;
namespace fs = std::filesystem;

/// A catalogue with a few pictures, two of them in the trash, and an album.
std::string soundCatalogue() {
    const TestDevice device;
    const std::string a = addScreenshot(1, 1), b = addScreenshot(2, 2), c = addScreenshot(30, 3);
    addAlbum("Davren", {c, a});
    perform([&] { PHAssetChangeRequest::deleteAssets(assetsNamed({a, b})); });
    return contentOf(PHPhotoLibrary::shared()->catalogue().file());
}

std::string damaged(std::string catalogue, const std::uint8_t* data, std::size_t size) {
    if (fuzz::textOf(data, size).starts_with("SQLite format 3"))
        return std::string(fuzz::textOf(data, size));
    for (; size >= 4; data += 4, size -= 4)
        catalogue[(data[0] | std::size_t{data[1]} << 8 | std::size_t{data[2]} << 16) % catalogue.size()] =
            static_cast<char>(data[3]);
    return catalogue;
}

void use() {
    const auto library = PHPhotoLibrary::shared();
    std::ignore = library->check();
    std::vector<velmorant::StitchableItem> items;
    for (const PHAsset& asset : PHAsset::fetchAssets({.sortDescriptors = {{"creationDate", false}}}).assets()) {
        fuzz::require(asset.file().lexically_normal().native().starts_with(library->catalogue().originals().native()));
        const Date date = asset.creationDate.value_or(Date::distantPast());
        items.emplace_back(asset.localIdentifier, date, velmorant::PixelSize{asset.pixelWidth, asset.pixelHeight, 1},
                           velmorant::itemType(date));
        std::ignore = velmorant::markedCreationDate(date, true);
        std::ignore = items.back().size();
    }
    for (const velmorant::Group& group : velmorant::Grouper(20, nullptr).process({velmorant::Group(items)}))
        std::ignore = group.debugDescription();
    for (const PHCollection& collection : PHCollection::fetchTopLevelUserCollections())
        if (const auto album = collection.assetCollection())
            std::ignore = PHAsset::fetchAssets(*album);
    std::ignore = addScreenshot(4, 4);
    std::ignore = perform([&] { PHAssetChangeRequest::restoreAssets(PHAsset::fetchDeletedAssets().assets()); });
    std::ignore = library->emptyTrash();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string sound = soundCatalogue();
    const TestDevice device;
    const fs::path photos = Device::current().folders.photoLibrary;
    fs::create_directories(photos / "Originals");
    writeFile(photos / "Catalogue.sqlite", damaged(sound, data, size));
    writeFile(photos / "letter", "mine");
    writeFile(device.home() / "letter", "mine");
    if (size % 2 == 0)
        writeFile(photos / ".lock", "x"); // as a process that was killed leaves it: what nobody names is removed
    use();
    fuzz::require(contentOf(photos / "letter") == "mine" && contentOf(device.home() / "letter") == "mine");
    return 0;
}
