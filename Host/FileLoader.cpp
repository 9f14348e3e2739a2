#include "Host/FileLoader.hpp"

#include "Platform/Foundation/Device.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

namespace host {

using platform::Bitmap;
using platform::CGImage;
using platform::ImageError;
using platform::MutexLock;
using platform::RowReader;

namespace {

std::int64_t bytesOf(const CGImage& image) {
    return static_cast<std::int64_t>(Bitmap::bytesPerPixel) * image.width() * image.height();
}

} // namespace

/// Keeps the rows that it reads, where there is memory for all of them.
class FileLoader::Reader final : public RowReader {
public:
    Reader(std::unique_ptr<RowReader> rows, std::shared_ptr<FileLoader> loader, std::string id, const CGImage& image,
           bool keeps)
        : rows_(std::move(rows)), loader_(std::move(loader)), id_(std::move(id)), opaque_(image.opaque()),
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
            loader_->keep(id_, CGImage(std::move(*kept_), opaque_, space_));
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
            loader_->files_->drop(id_, done.error());
        }
        return done;
    }

    void keepNothing() {
        if (!kept_)
            return;
        kept_.reset();
        loader_->release(id_);
    }

    const std::unique_ptr<RowReader> rows_;
    const std::shared_ptr<FileLoader> loader_;
    const std::string id_;
    const bool opaque_;
    const platform::CGColorSpace space_;
    std::optional<Bitmap> kept_;
    std::int64_t next_ = 0;
};

/// An image of a file, whole or reduced.
class FileLoader::Rows final : public platform::RowSource {
public:
    Rows(CGImage image, std::shared_ptr<FileLoader> loader, std::string id, bool isWhole = true)
        : image_(std::move(image)), loader_(std::move(loader)), id_(std::move(id)), isWhole_(isWhole) {}

    std::int64_t width() const override { return image_.width(); }
    std::int64_t height() const override { return image_.height(); }
    bool opaque() const override { return image_.opaque(); }
    platform::CGColorSpace colorSpace() const override { return image_.colorSpace(); }

    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        auto rows = image_.reader();
        if (!rows) {
            loader_->files_->drop(id_, rows.error());
            return rows;
        }
        const bool keeps = isWhole_ && loader_->reserve(id_, bytesOf(image_));
        return std::make_unique<Reader>(std::move(*rows), loader_, id_, image_, keeps);
    }

    std::shared_ptr<const platform::RowSource> reduced(std::int64_t width, std::int64_t height) const override {
        CGImage image = image_.reduced(width, height);
        return image == image_ ? nullptr : std::make_shared<const Rows>(std::move(image), loader_, id_, false);
    }

private:
    const CGImage image_;
    const std::shared_ptr<FileLoader> loader_;
    const std::string id_;
    const bool isWhole_;
};

std::int64_t FileLoader::budget() {
    return std::min<std::int64_t>(56'000'000, platform::Device::current().imageLimits.maxMemory);
}

void FileLoader::loadImage(const velmorant::StitchableItem& item, bool, const Completion& completion) {
    std::optional<CGImage> kept;
    {
        const MutexLock lock(mutex_);
        if (const auto found = kept_.find(item.id); found != kept_.end())
            kept = found->second.image;
    }
    if (!kept) {
        const auto source = files_->image(item);
        auto image =
            source ? uprightImage(source->image(), source->properties().orientation) : std::unexpected(source.error());
        if (!image) {
            files_->drop(item.id, image.error());
            completion(std::nullopt);
            return;
        }
        kept = CGImage(std::make_shared<const Rows>(std::move(*image), shared_from_this(), item.id));
    }
    completion(platform::UIImage(std::move(*kept)));
}

bool FileLoader::reserve(const std::string& id, std::int64_t bytes) {
    const MutexLock lock(mutex_);
    if (bytes > left_ || !kept_.try_emplace(id, Kept{bytes, std::nullopt}).second)
        return false;
    left_ -= bytes;
    return true;
}

void FileLoader::keep(const std::string& id, CGImage image) {
    const MutexLock lock(mutex_);
    if (const auto found = kept_.find(id); found != kept_.end())
        found->second.image = std::move(image);
}

void FileLoader::release(const std::string& id) {
    const MutexLock lock(mutex_);
    if (const auto kept = kept_.extract(id))
        left_ += kept.mapped().bytes;
}

void FileLoader::forget(const std::vector<velmorant::StitchableItem>& items) {
    for (const velmorant::StitchableItem& item : items)
        release(item.id);
}

} // namespace host
