#include "Host/FileSource.hpp"

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/ImageIO/CaptureDate.hpp"

#include <chrono>
#include <expected>
#include <optional>

namespace host {

namespace fs = std::filesystem;
using platform::CGImageSource;
using platform::ImageError;
using velmorant::StitchableItem;

namespace {

platform::Date modificationDate(const fs::path& path) {
    std::error_code unknown;
    const auto time = fs::last_write_time(path, unknown);
    const auto since1970 = std::chrono::file_clock::to_sys(time).time_since_epoch();
    return platform::Date::since1970(std::chrono::duration<double>(since1970).count());
}

platform::Date captureDate(const fs::path& path, const platform::ImageProperties& properties) {
    const auto calendar = platform::Calendar::current();
    for (const auto& components : {properties.captureDate, platform::captureDateFromFileName(path.filename().native())})
        if (components)
            if (const auto date = calendar.date(*components))
                return *date;
    return modificationDate(path);
}

std::expected<FileItem, ImageError> openFile(const fs::path& path) {
    auto image = CGImageSource::open(path);
    if (!image)
        return std::unexpected(image.error());
    const platform::ImageProperties& properties = image->properties();
    const platform::Date date = captureDate(path, properties);

    platform::ContentHash hash;
    if (auto read = hash.addFile(path); !read)
        return std::unexpected(ImageError{ImageError::Code::readFailed, read.error().message()});
    hash.add(&date.timeIntervalSinceReferenceDate, sizeof(double));

    velmorant::PixelSize size{properties.width, properties.height, 1};
    if (isQuarterTurn(properties.orientation))
        std::swap(size.width, size.height);
    return FileItem{path, StitchableItem(hash.hex(), date, size, StitchableItem::ItemType::unstitched),
                    std::move(*image)};
}

} // namespace

FileSource::FileSource(const std::vector<fs::path>& paths) {
    std::vector<std::optional<std::expected<FileItem, ImageError>>> opened(paths.size());
    platform::DispatchQueue::concurrentPerform(paths.size(), [&](std::size_t i) { opened[i] = openFile(paths[i]); });

    for (std::size_t i = 0; i < paths.size(); ++i) {
        auto& file = *opened[i];
        if (!file) {
            bad_.push_back({paths[i], file.error()});
            continue;
        }
        const auto [place, isNew] = places_.try_emplace(file->item.id, items_.size());
        if (isNew)
            items_.push_back(std::move(*file));
        else
            repeated_.push_back({paths[i], items_[place->second].path});
    }
}

const FileItem& FileSource::file(const StitchableItem& item) const {
    return items_[places_.at(item.id)];
}

} // namespace host
