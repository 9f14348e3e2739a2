#include "Host/Filing.hpp"

#include "Host/AssetSource.hpp"
#include "Host/ConsoleLog.hpp"
#include "Host/FileLoader.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Message.hpp"
#include "Host/Waiting.hpp"
#include "Orbelquist/AlignerVersion.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Platform/Photos/PHFetchResult.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include <algorithm>
#include <set>

namespace host {

using platform::PHAsset;
using platform::PHAssetNote;
using velmorant::Alignment;
using velmorant::Group;
using velmorant::StitchableItem;

namespace {

std::set<std::string> idsIn(const std::string& groupId) {
    std::set<std::string> ids;
    for (std::size_t from = 0; from <= groupId.size();) {
        const std::size_t to = std::min(groupId.find('_', from), groupId.size());
        ids.insert(groupId.substr(from, to - from));
        from = to + 1;
    }
    return ids;
}

bool isStitchedAndWhole(const StitchableItem& item) {
    const auto assets = PHAsset::fetchAssetsWithLocalIdentifiers({item.id});
    const auto asset = assets.firstObject();
    const auto image = asset ? platform::CGImageSource::open(asset->file())
                             : std::unexpected(platform::ImageError{platform::ImageError::Code::missing, {}});
    if (!image || image->properties().width != item.assetSize.width ||
        image->properties().height != item.assetSize.height)
        return false;
    const auto album = velmorant::findStitchedAlbum();
    return album && std::ranges::any_of(PHAsset::fetchAssets(*album).assets(),
                                        [&](const PHAsset& filed) { return filed.localIdentifier == item.id; });
}

} // namespace

Filing::Filing(Library& library)
    : library_(library), cache_(velmorant::AlignerDiskCache::make(orbelquist::alignerVersion)) {
    cache_->waitUntilLoaded();
}

Filing::~Filing() {
    cache_->waitUntilSaved();
}

std::unordered_set<std::string> Filing::filedGroups() const {
    std::unordered_set<std::string> ids;
    for (const PHAssetNote& note : platform::notesOfAssets(platform::Deleted::included))
        ids.insert(note.note);
    return ids;
}

Filed Filing::file(const Group& group) {
    Group rest = group;
    Filed filed;
    for (;;) {
        const auto files = AssetSource::make(rest.items());
        const auto loader = FileLoader::make(files);
        velmorant::OpenCVAligner aligner(loader, cache_, std::make_shared<ConsoleLog>(velmorant::LogStoreType::fault));
        auto result = awaited<velmorant::Aligner::Result>([&](auto done) {
            aligner.alignment(rest, platform::DispatchQueue::global(), platform::DispatchWorkItemFlags::none, done);
        });
        if (!result) {
            filed.error = message("interrupted");
            return filed;
        }
        if (const auto bad = files->bad(); !bad.empty()) { // once more, as if they were not there
            std::ranges::copy(bad, std::back_inserter(filed.bad));
            cache_->setAlignment(rest.id(), std::nullopt);
            auto items = rest.items();
            std::erase_if(items, [&](const StitchableItem& item) { return files->isDropped(item); });
            rest = Group(std::move(items));
            if (rest.items().size() >= 2)
                continue;
        }
        if (!*result || rest.items().size() < 2) {
            filed.error = message("no two neighbours show the same rows; see velmorant show");
            return filed;
        }
        const Alignment& alignment = **result;
        filed.joined = alignment.positions().size();
        std::ranges::copy_if(rest.items(), std::back_inserter(filed.leftOut),
                             [&](const StitchableItem& item) { return !alignment.position(item); });
        filed.error = save(group, velmorant::CoreImageRenderer(loader).render(alignment, false), filed);
        if (const auto bad = files->bad(); filed.error && !bad.empty())
            filed.error = imageErrorMessage(bad.front().path, bad.front().error);
        return filed;
    }
}

/// An error for people, where the picture is not in the library afterwards.
std::optional<std::string> Filing::save(const Group& group, const platform::UIImage& picture, Filed& filed) {
    // The library does not say whether it succeeded, nor calls back in every case: a second change tells the end.
    const auto answer = std::make_shared<std::optional<StitchableItem>>();
    library_.source.save(picture, group, false, [answer](const StitchableItem& item) { *answer = item; });
    const auto ended = performChanges([] {});
    if (!ended)
        return message("interrupted");
    if (!*answer || !isStitchedAndWhole(**answer)) {
        const auto failure = platform::lastWriteFailure();
        return failure ? message("the library cannot be written ({}: {}); nothing was saved; make room or look at its "
                                 "permissions",
                                 {shown(failure->file), failure->error.message()})
                       : message("the library did not take the picture; nothing was saved");
    }
    filed.picture = **answer;
    replaceFormer(group, **answer);
    return std::nullopt;
}

/// Notes what the picture was made of, and takes away the pictures of parts of it, and one of the same date and width
/// that was filed but not noted, because the program was killed in between.
void Filing::replaceFormer(const Group& group, const StitchableItem& picture) {
    const auto ids = idsIn(group.id());
    std::vector<std::string> former;
    std::set<std::string> noted = {picture.id};
    for (const PHAssetNote& note : platform::notesOfAssets()) {
        noted.insert(note.localIdentifier);
        if (std::ranges::includes(ids, idsIn(note.note)))
            former.push_back(note.localIdentifier);
    }
    if (const auto album = velmorant::findStitchedAlbum())
        for (const PHAsset& asset : PHAsset::fetchAssets(*album).assets())
            if (!noted.contains(asset.localIdentifier) && asset.creationDate == picture.date &&
                asset.pixelWidth == picture.assetSize.width)
                former.push_back(asset.localIdentifier);
    performChanges([=, id = group.id()] {
        platform::PHAssetChangeRequest::setNote(picture.id, id);
        platform::PHAssetChangeRequest::deleteAssets(PHAsset::fetchAssetsWithLocalIdentifiers(former).assets());
    });
}

} // namespace host
