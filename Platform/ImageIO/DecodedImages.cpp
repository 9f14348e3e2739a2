#include "Platform/ImageIO/DecodedImages.hpp"

#include "Platform/Foundation/Device.hpp"

#include <algorithm>
#include <cstring>

namespace platform {

/// Keeps the rows that it reads, where there is memory for all of them.
class DecodedImages::Reader final : public RowReader {
public:
    Reader(std::unique_ptr<RowReader> rows, std::shared_ptr<DecodedImages> images, std::string id, const CGImage& image,
           bool keeps)
        : rows_(std::move(rows)), images_(std::move(images)), id_(std::move(id)), opaque_(image.opaque()),
          space_(image.colorSpace()) {
        if (keeps)
            kept_.emplace(image.width(), image.height());
    }
    ~Reader() override { keepNothing(); }

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        auto done = reported(rows_->read(rows, stride, count));
        if (!done || !kept_)
            return done;
        for (std::int64_t i = 0; i < count; ++i)
            std::memcpy(kept_->row(next_ + i), rows + static_cast<std::size_t>(i) * stride, kept_->stride());
        next_ += count;
        if (next_ == kept_->height()) {
            images_->keep(id_, CGImage(std::move(*kept_), opaque_, space_));
            kept_.reset();
        }
        return done;
    }

    std::expected<void, ImageError> skip(std::int64_t count) override {
        keepNothing();
        return reported(rows_->skip(count));
    }

private:
    std::expected<void, ImageError> reported(std::expected<void, ImageError> done) {
        if (!done) {
            keepNothing();
            images_->failed_(id_, done.error());
        }
        return done;
    }

    void keepNothing() {
        if (!kept_)
            return;
        kept_.reset();
        images_->forget(id_);
    }

    const std::unique_ptr<RowReader> rows_;
    const std::shared_ptr<DecodedImages> images_;
    const std::string id_;
    const bool opaque_;
    const CGColorSpace space_;
    std::optional<Bitmap> kept_;
    std::int64_t next_ = 0;
};

/// An image that is not kept yet, whole or reduced.
class DecodedImages::Rows final : public RowSource {
public:
    Rows(CGImage image, std::shared_ptr<DecodedImages> images, std::string id, bool isWhole = true)
        : image_(std::move(image)), images_(std::move(images)), id_(std::move(id)), isWhole_(isWhole) {}

    std::int64_t width() const override { return image_.width(); }
    std::int64_t height() const override { return image_.height(); }
    bool opaque() const override { return image_.opaque(); }
    CGColorSpace colorSpace() const override { return image_.colorSpace(); }

    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        auto rows = image_.reader();
        if (!rows) {
            images_->failed_(id_, rows.error());
            return rows;
        }
        const bool keeps = isWhole_ && images_->reserve(id_, image_);
        return std::make_unique<Reader>(std::move(*rows), images_, id_, image_, keeps);
    }

    std::shared_ptr<const RowSource> reduced(std::int64_t width, std::int64_t height) const override {
        CGImage image = image_.reduced(width, height);
        return image == image_ ? nullptr : std::make_shared<const Rows>(std::move(image), images_, id_, false);
    }

private:
    const CGImage image_;
    const std::shared_ptr<DecodedImages> images_;
    const std::string id_;
    const bool isWhole_;
};

std::int64_t DecodedImages::budget() {
    return std::min<std::int64_t>(56'000'000, Device::current().imageLimits.maxMemory);
}

std::expected<CGImage, ImageError>
DecodedImages::image(const std::string& id, const std::function<std::expected<CGImage, ImageError>()>& open) {
    if (auto image = kept(id))
        return std::move(*image);
    auto image = open();
    if (!image)
        failed_(id, image.error());
    else if (!image->pixels())
        return CGImage(std::make_shared<const Rows>(std::move(*image), shared_from_this(), id));
    else if (reserve(id, *image)) // decoded by being opened, as what is turned upright is
        keep(id, *image);
    return image;
}

std::optional<CGImage> DecodedImages::kept(const std::string& id) const {
    const MutexLock lock(mutex_);
    const auto found = kept_.find(id);
    return found == kept_.end() ? std::nullopt : found->second.image;
}

bool DecodedImages::reserve(const std::string& id, const CGImage& image) {
    const auto bytes = static_cast<std::int64_t>(Bitmap::bytesPerPixel) * image.width() * image.height();
    const MutexLock lock(mutex_);
    if (bytes > left_ || !kept_.try_emplace(id, Kept{bytes, std::nullopt}).second)
        return false;
    left_ -= bytes;
    return true;
}

void DecodedImages::keep(const std::string& id, CGImage image) {
    const MutexLock lock(mutex_);
    if (const auto found = kept_.find(id); found != kept_.end())
        found->second.image = std::move(image);
}

void DecodedImages::forget(const std::string& id) {
    const MutexLock lock(mutex_);
    if (const auto kept = kept_.extract(id))
        left_ += kept.mapped().bytes;
}

} // namespace platform
