#include "Host/AssetSource.hpp"

#include "Host/Library.hpp"
#include "Platform/Photos/PHFetchResult.hpp"

namespace host {

using platform::ImageError;
using platform::MutexLock;
using velmorant::StitchableItem;

std::shared_ptr<AssetSource> AssetSource::make(std::vector<StitchableItem> items) {
    const std::shared_ptr<AssetSource> source(new AssetSource);
    source->items_ = std::move(items);
    std::vector<std::string> ids;
    for (const StitchableItem& item : source->items_)
        ids.push_back(item.id);
    for (const platform::PHAsset& asset : platform::PHAsset::fetchAssetsWithLocalIdentifiers(ids).assets())
        source->paths_.emplace(asset.localIdentifier, asset.file());
    return source;
}

const std::filesystem::path& AssetSource::path(const StitchableItem& item) const {
    static const std::filesystem::path none;
    const auto found = paths_.find(item.id);
    return found == paths_.end() ? none : found->second;
}

std::string AssetSource::name(const StitchableItem& item) const {
    return shortName(item) + " (" + localDate(item.date) + ")";
}

std::string AssetSource::shortName(const StitchableItem& item) const {
    return shortened(item.id);
}

std::expected<platform::CGImageSource, ImageError> AssetSource::image(const StitchableItem& item) const {
    if (path(item).empty())
        return std::unexpected(ImageError{ImageError::Code::missing, {}});
    return platform::CGImageSource::open(path(item));
}

void AssetSource::drop(const std::string& id, const ImageError& error) {
    std::vector<ChangeHandler> handlers;
    {
        const MutexLock lock(mutex_);
        const auto path = paths_.find(id);
        if (!dropped_.try_emplace(id, BadFile{path == paths_.end() ? std::filesystem::path(id) : path->second, error})
                 .second)
            return;
        handlers = handlers_;
    }
    for (const ChangeHandler& handler : handlers)
        handler();
}

bool AssetSource::isDropped(const StitchableItem& item) const {
    const MutexLock lock(mutex_);
    return dropped_.contains(item.id);
}

std::vector<BadFile> AssetSource::bad() const {
    const MutexLock lock(mutex_);
    std::vector<BadFile> bad;
    for (const StitchableItem& item : items_)
        if (const auto found = dropped_.find(item.id); found != dropped_.end())
            bad.push_back(found->second);
    return bad;
}

void AssetSource::fetchItems(const platform::DispatchQueue& queue,
                             std::function<void(std::vector<StitchableItem>)> completion) {
    queue.async([self = shared_from_this(), completion = std::move(completion)] {
        std::vector<StitchableItem> items = self->items_;
        std::erase_if(items, [&](const StitchableItem& item) { return self->isDropped(item); });
        completion(std::move(items));
    });
}

void AssetSource::watchForChanges(ChangeHandler changeHandler) {
    {
        const MutexLock lock(mutex_);
        handlers_.push_back(changeHandler);
    }
    changeHandler();
}

} // namespace host
