#include "Host/FileLoader.hpp"

#include <optional>

namespace host {

using platform::CGImage;
using platform::ImageError;
using platform::RowReader;

namespace {

class ReportingReader final : public RowReader {
public:
    ReportingReader(std::unique_ptr<RowReader> rows, std::shared_ptr<FileLoader> loader, std::string id)
        : rows_(std::move(rows)), loader_(std::move(loader)), id_(std::move(id)) {}

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        return reported(rows_->read(rows, stride, count));
    }
    std::expected<void, ImageError> skip(std::int64_t count) override { return reported(rows_->skip(count)); }

private:
    std::expected<void, ImageError> reported(std::expected<void, ImageError> result) {
        if (!result)
            loader_->report(id_, result.error());
        return result;
    }

    const std::unique_ptr<RowReader> rows_;
    const std::shared_ptr<FileLoader> loader_;
    const std::string id_;
};

/// An image whose errors the loader hears of.
class ReportingRows final : public platform::RowSource {
public:
    ReportingRows(CGImage image, std::shared_ptr<FileLoader> loader, std::string id)
        : image_(std::move(image)), loader_(std::move(loader)), id_(std::move(id)) {}

    std::int64_t width() const override { return image_.width(); }
    std::int64_t height() const override { return image_.height(); }
    bool opaque() const override { return image_.opaque(); }
    platform::CGColorSpace colorSpace() const override { return image_.colorSpace(); }

    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        auto rows = image_.reader();
        if (!rows) {
            loader_->report(id_, rows.error());
            return rows;
        }
        return std::make_unique<ReportingReader>(std::move(*rows), loader_, id_);
    }

private:
    const CGImage image_;
    const std::shared_ptr<FileLoader> loader_;
    const std::string id_;
};

} // namespace

void FileLoader::loadImage(const velmorant::StitchableItem& item, bool, const Completion& completion) {
    const platform::CGImageSource& source = files_->file(item).image;
    auto image = uprightImage(source.image(), source.properties().orientation);
    if (!image) {
        report(item.id, image.error());
        completion(std::nullopt);
        return;
    }
    completion(platform::UIImage(
        CGImage(std::make_shared<const ReportingRows>(std::move(*image), shared_from_this(), item.id))));
}

std::unordered_map<std::string, ImageError> FileLoader::failures() const {
    const platform::MutexLock lock(mutex_);
    return failures_;
}

void FileLoader::report(const std::string& id, const ImageError& error) {
    const platform::MutexLock lock(mutex_);
    failures_.try_emplace(id, error);
}

} // namespace host
