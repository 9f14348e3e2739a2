#include "Bindings/C/Screenshots.hpp"

#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/ImageIO/CaptureDate.hpp"

#include <algorithm>

namespace bindings {

using platform::CGImage;
using platform::ImageError;
using platform::MutexLock;
using velmorant::StitchableItem;

/// Ends with the work that it belongs to, and counts what was read to its end.
class Screenshots::Reader final : public platform::RowReader {
public:
    Reader(std::unique_ptr<RowReader> rows, std::shared_ptr<Screenshots> owner, std::int64_t height)
        : rows_(std::move(rows)), owner_(std::move(owner)), left_(height) {}

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        if (owner_->isCancelled())
            return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
        return passed(rows_->read(rows, stride, count), count);
    }

    std::expected<void, ImageError> skip(std::int64_t count) override { return passed(rows_->skip(count), count); }

private:
    std::expected<void, ImageError> passed(std::expected<void, ImageError> done, std::int64_t count) {
        if (!done)
            return done;
        left_ -= count;
        if (left_ == 0)
            ++owner_->readCount_;
        return done;
    }

    const std::unique_ptr<RowReader> rows_;
    const std::shared_ptr<Screenshots> owner_;
    std::int64_t left_; ///< rows
};

class Screenshots::Rows final : public platform::RowSource {
public:
    Rows(CGImage image, std::shared_ptr<Screenshots> owner) : image_(std::move(image)), owner_(std::move(owner)) {}

    std::int64_t width() const override { return image_.width(); }
    std::int64_t height() const override { return image_.height(); }
    bool opaque() const override { return image_.opaque(); }
    platform::CGColorSpace colorSpace() const override { return image_.colorSpace(); }

    std::expected<std::unique_ptr<platform::RowReader>, ImageError> reader() const override {
        auto rows = image_.reader();
        if (!rows)
            return rows;
        return std::make_unique<Reader>(std::move(*rows), owner_, image_.height());
    }

private:
    const CGImage image_;
    const std::shared_ptr<Screenshots> owner_;
};

std::expected<void, Error> Screenshots::addFile(const std::filesystem::path& file) {
    const auto source = platform::CGImageSource::open(file);
    if (!source)
        return std::unexpected(readError(file.native(), source.error()));
    const platform::ImageProperties& properties = source->properties();
    const velmorant::PixelSize size{properties.uprightWidth(), properties.uprightHeight(), 1};
    auto date = properties.captureDate;
    if (!date)
        date = platform::captureDateFromFileName(file.filename().native());
    add({file.native(), source->image(), properties.orientation, date}, size);
    return {};
}

void Screenshots::addPixels(CGImage image) {
    const velmorant::PixelSize size{image.width(), image.height(), 1};
    add({"screenshot " + std::to_string(items_.size()), std::move(image), platform::ImageOrientation::up, {}}, size);
}

void Screenshots::add(Screenshot screenshot, velmorant::PixelSize size) {
    items_.emplace_back(std::to_string(items_.size()), platform::Date(), size, StitchableItem::ItemType::unstitched);
    screenshots_.push_back(std::move(screenshot));
}

std::optional<platform::DateComponents> Screenshots::captureDate() const {
    const auto dated = std::ranges::find_if(screenshots_, [](const auto& s) { return s.captureDate.has_value(); });
    return dated == screenshots_.end() ? std::nullopt : dated->captureDate;
}

void Screenshots::loadImage(const StitchableItem& item, bool, const Completion& completion) {
    const Screenshot& screenshot = screenshots_[indexOf(item)];
    const auto image = decoded_->image(item.id, [&] { return uprightImage(screenshot.image, screenshot.orientation); });
    completion(image
                   ? std::optional(platform::UIImage(CGImage(std::make_shared<const Rows>(*image, shared_from_this()))))
                   : std::nullopt);
}

void Screenshots::begin() {
    state_ = State::working;
    readCount_ = 0;
    const MutexLock lock(mutex_);
    error_.reset();
}

void Screenshots::cancel() {
    auto working = State::working;
    state_.compare_exchange_strong(working, State::cancelled);
}

void Screenshots::fail(const std::string& id, const ImageError& error) {
    const MutexLock lock(mutex_);
    if (!error_)
        error_ = readError(screenshots_[std::stoul(id)].name, error);
}

std::optional<Error> Screenshots::error() const {
    const MutexLock lock(mutex_);
    return error_;
}

} // namespace bindings
