#include "Host/Filing.hpp"

#include "Host/AssetSource.hpp"
#include "Host/ConsoleLog.hpp"
#include "Host/FileLoader.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/Waiting.hpp"
#include "Orbelquist/AlignerVersion.hpp"
#include "Platform/Photos/LibraryLock.hpp"
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

/// What another process may have taken away or filed while the picture was drawn. Under the library's lock.
bool areInLibrary(const std::vector<StitchableItem>& items) {
    std::vector<std::string> ids;
    ids.reserve(items.size());
    for (const StitchableItem& item : items)
        ids.push_back(item.id);
    return PHAsset::fetchAssetsWithLocalIdentifiers(ids).count() == ids.size();
}

bool isFiled(const Group& group) {
    return std::ranges::any_of(platform::notesOfAssets(),
                               [id = group.id()](const PHAssetNote& note) { return note.note == id; });
}

/// The pictures of parts of the group.
std::vector<PHAsset> formerPictures(const Group& group) {
    const auto ids = idsIn(group.id());
    std::vector<std::string> former;
    for (const PHAssetNote& note : platform::notesOfAssets())
        if (std::ranges::includes(ids, idsIn(note.note)))
            former.push_back(note.localIdentifier);
    return PHAsset::fetchAssetsWithLocalIdentifiers(former).assets();
}

void fail(Filed& filed, std::string error, bool mayPass) {
    filed.error = std::move(error);
    filed.mayPass = mayPass;
}

/// Files `picture`, which shows `shown` of the group's items: its file, its place in the album, what it was made of,
/// and the end of former ones, all in one transaction.
void save(const Group& group, const std::vector<StitchableItem>& shown, const platform::UIImage& picture,
          Filed& filed) {
    const platform::Date date = velmorant::markedCreationDate(group.date(), false);
    const auto draft = platform::PHAssetDraft::draw(picture, date, Interrupt::requested);
    if (Interrupt::requested())
        return fail(filed, message("interrupted"), false);
    if (!draft)
        return fail(filed, libraryErrorMessage(draft.error()), mayPass(draft.error()));
    const auto lock = Library::lock();
    if (!lock)
        return fail(filed, lock.error(), true);
    filed.wasThere = isFiled(group);
    if (filed.wasThere)
        return fail(filed, message("it is in the album already"), false);
    if (!areInLibrary(shown))
        return fail(filed, message("its screenshots were deleted meanwhile; nothing was saved"), false);

    const auto id = std::make_shared<std::string>();
    const auto done = performChanges([=, note = group.id(), former = formerPictures(group)] {
        const auto creation = platform::PHAssetCreationRequest::creationRequestForAssetFromDraft(*draft);
        *id = creation->placeholderForCreatedAsset()->localIdentifier;
        velmorant::addToStitchedAlbum({*id});
        platform::PHAssetChangeRequest::setNote(*id, note);
        platform::PHAssetChangeRequest::deleteAssets(former);
    });
    if (!done)
        return fail(filed, message("interrupted"), false);
    if (!*done)
        return fail(filed, libraryErrorMessage(done->error()), mayPass(done->error()));
    const StitchableItem saved{*id, date, velmorant::PixelSize::cg(picture.size(), 1),
                               StitchableItem::ItemType::prestitched};
    if (!isStitchedAndWhole(saved)) // no word is taken for it
        return fail(filed, message("the library did not take the picture; nothing was saved"), true);
    filed.picture = saved;
}

} // namespace

Filing::Filing() : cache_(velmorant::AlignerDiskCache::make(orbelquist::alignerVersion)) {
    cache_->waitUntilLoaded();
}

Filing::~Filing() {
    cache_->waitUntilSaved();
}

std::unordered_set<std::string> Filing::filedGroups() {
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
        const auto loader = std::make_shared<FileLoader>(files);
        velmorant::OpenCVAligner aligner(loader, cache_, std::make_shared<ConsoleLog>(velmorant::LogStoreType::fault));
        auto result = awaited<velmorant::Aligner::Result>([&](const auto& done) {
            aligner.alignment(rest, platform::DispatchQueue::global(), platform::DispatchWorkItemFlags::none, done);
        });
        if (!result) {
            fail(filed, message("interrupted"), false);
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
            fail(filed, message("no two neighbours show the same rows; see velmorant show"), false);
            return filed;
        }
        const Alignment& alignment = **result;
        std::vector<StitchableItem> shown;
        for (const StitchableItem& item : rest.items())
            (alignment.position(item) ? shown : filed.leftOut).push_back(item);
        filed.joined = shown.size();
        save(group, shown, velmorant::CoreImageRenderer(loader).render(alignment, false), filed);
        if (const auto bad = files->bad(); filed.error && !bad.empty())
            fail(filed, imageErrorMessage(bad.front().path, bad.front().error), mayPass(bad.front().error));
        return filed;
    }
}

} // namespace host
