#include "Host/FileSource.hpp"

#include "Host/DamagedRows.hpp"
#include "Host/PictureWriter.hpp"
#include "Host/ScreenshotTest.hpp"
#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/NaturalOrder.hpp"
#include "Platform/Foundation/RegularFile.hpp"

#include <algorithm>
#include <cmath>
#include <expected>
#include <map>
#include <optional>

namespace host {

namespace fs = std::filesystem;
using platform::CGImageSource;
using platform::ImageError;
using platform::MutexLock;
using velmorant::StitchableItem;

namespace {

/// Between two shots of a run, in seconds; a run is seldom shot slower.
constexpr double longestPause = 60;

/// A file with what tells it from others whatever they are named.
struct OpenedFile {
    FileItem item;
    platform::FileIdentity identity;
};

std::expected<OpenedFile, ImageError> openFile(const fs::path& path) {
    auto image = CGImageSource::open(path);
    if (!image)
        return std::unexpected(image.error());
    const platform::ImageProperties& properties = image->properties();
    const platform::Date date = captureDate(path, properties);

    platform::ContentHash hash;
    const auto read = hash.addFile(path);
    const auto file = platform::RegularFile::open(path);
    if (!read || !file)
        return std::unexpected(
            ImageError{ImageError::Code::readFailed, (read ? file.error() : read.error()).message()});
    hash.add(&date.timeIntervalSinceReferenceDate, sizeof(double));

    const velmorant::PixelSize size{properties.uprightWidth(), properties.uprightHeight(), 1};
    const StitchableItem item(hash.hex(), date, size, StitchableItem::ItemType::unstitched);
    return OpenedFile{{path, item, std::move(*image)}, file->identity()};
}

/// By date, then by name.
bool isEarlier(const FileItem& a, const FileItem& b) {
    if (a.item.date != b.item.date)
        return a.item.date < b.item.date;
    return platform::naturalLess(a.path.filename().native(), b.path.filename().native());
}

} // namespace

FileSource::FileSource(std::vector<fs::path> paths, Order order)
    : paths_(std::move(paths)), order_(order),
      queue_(platform::DispatchQueue::serial(platform::Device::current().hostIdentifier + ".files")) {}

void FileSource::open() {
    std::vector<std::optional<std::expected<OpenedFile, ImageError>>> opened(paths_.size());
    platform::DispatchQueue::concurrentPerform(paths_.size(), [&](std::size_t i) {
        opened[i] = openFile(paths_[i]);
        ++openedCount_;
    });

    std::unordered_map<std::string, std::size_t> byId; // places in `items_`
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::size_t> byInode;
    for (std::size_t i = 0; i < paths_.size(); ++i) {
        auto& file = *opened[i];
        if (!file) {
            unopened_.push_back({paths_[i], file.error()});
            continue;
        }
        if (file->item.image.properties().software == softwareMark) {
            ownPictures_.push_back(paths_[i]);
            continue;
        }
        const auto named = byInode.try_emplace({file->identity.device, file->identity.inode}, items_.size());
        const auto seen = byId.try_emplace(file->item.item.id, items_.size());
        const std::size_t place = std::min(named.first->second, seen.first->second);
        named.first->second = seen.first->second = place;
        if (place == items_.size())
            items_.push_back(std::move(file->item));
        else
            repeated_.push_back({paths_[i], items_[place].path});
    }
    if (order_ == Order::byDate)
        std::ranges::stable_sort(items_, isEarlier);
    for (std::size_t i = 0; i < items_.size(); ++i)
        places_.emplace(items_[i].item.id, i);
    dropDamagedIntruders();
}

/// A file that says it has another size than the shots just before and after it stands between them and is not read
/// further. So that a damaged one does not part them, its rows are looked at first.
void FileSource::dropDamagedIntruders() {
    std::vector<std::size_t> intruders;
    for (std::size_t i = 1; i + 1 < items_.size(); ++i) {
        const auto differs = [&](const FileItem& other) {
            return other.item.assetSize != items_[i].item.assetSize &&
                   std::abs(other.item.date.timeIntervalSinceReferenceDate -
                            items_[i].item.date.timeIntervalSinceReferenceDate) < longestPause;
        };
        if (differs(items_[i - 1]) && differs(items_[i + 1]))
            intruders.push_back(i);
    }
    std::vector<std::optional<ImageError>> damage(intruders.size());
    platform::DispatchQueue::concurrentPerform(
        intruders.size(), [&](std::size_t k) { damage[k] = damageIn(items_[intruders[k]].image); });
    const MutexLock lock(mutex_);
    for (std::size_t k = 0; k < intruders.size(); ++k)
        if (damage[k]) {
            const FileItem& file = items_[intruders[k]];
            droppedIds_.insert(file.item.id);
            dropped_.push_back({file.path, *damage[k]});
        }
}

const FileItem& FileSource::file(const StitchableItem& item) const {
    return items_[places_.at(item.id)];
}

std::vector<BadFile> FileSource::bad() const {
    std::vector<BadFile> bad = unopened_;
    const MutexLock lock(mutex_);
    std::ranges::copy(dropped_, std::back_inserter(bad));
    return bad;
}

void FileSource::drop(const std::string& id, const ImageError& error) {
    {
        const MutexLock lock(mutex_);
        if (!droppedIds_.insert(id).second)
            return;
        dropped_.push_back({items_[places_.at(id)].path, error});
    }
    notify();
}

bool FileSource::isDropped(const StitchableItem& item) const {
    const MutexLock lock(mutex_);
    return droppedIds_.contains(item.id);
}

velmorant::StitchableDataSourcePermissionStatus FileSource::permissionStatus() const {
    return velmorant::StitchableDataSourcePermissionStatus::allowed; // each file answers for itself
}

void FileSource::promptForPermission(std::function<void()> completion) {
    if (completion)
        completion();
    notify();
}

void FileSource::fetchItems(const platform::DispatchQueue& queue,
                            std::function<void(std::vector<StitchableItem>)> completion) {
    queue_.async([self = shared_from_this(), queue, completion = std::move(completion)] {
        std::call_once(self->opened_, [&] { self->open(); });
        queue.async([items = self->remainingItems(), completion]() mutable { completion(std::move(items)); });
    });
}

std::vector<StitchableItem> FileSource::remainingItems() const {
    std::vector<StitchableItem> items;
    items.reserve(items_.size());
    for (const FileItem& file : items_)
        if (!isDropped(file.item))
            items.push_back(file.item);
    return items;
}

void FileSource::watchForChanges(ChangeHandler changeHandler) {
    {
        const MutexLock lock(mutex_);
        handlers_.push_back(changeHandler);
    }
    changeHandler();
}

void FileSource::notify() const {
    std::vector<ChangeHandler> handlers;
    {
        const MutexLock lock(mutex_);
        handlers = handlers_;
    }
    for (const ChangeHandler& handler : handlers)
        handler();
}

void FileSource::deleteItems(const std::vector<StitchableItem>&, std::function<void(bool)> completion) {
    if (completion)
        completion(false);
}

} // namespace host
