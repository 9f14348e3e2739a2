#include "Platform/CoreGraphics/CGImage.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace platform {

namespace {

class ResidentReader final : public RowReader {
public:
    ResidentReader(std::shared_ptr<const RowSource> owner, const Bitmap& pixels)
        : owner_(std::move(owner)), pixels_(pixels) {}

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (std::int64_t i = 0; i < count; ++i)
            std::memcpy(rows + stride * static_cast<std::size_t>(i), pixels_.row(next_ + i), pixels_.stride());
        return skip(count);
    }

    std::expected<void, ImageError> skip(std::int64_t count) override {
        next_ += count;
        return {};
    }

private:
    const std::shared_ptr<const RowSource> owner_; // keeps the pixels
    const Bitmap& pixels_;
    std::int64_t next_ = 0;
};

class ResidentRows final : public RowSource, public std::enable_shared_from_this<ResidentRows> {
public:
    ResidentRows(Bitmap pixels, bool opaque, CGColorSpace space)
        : pixels_(std::move(pixels)), opaque_(opaque), space_(std::move(space)) {}

    std::int64_t width() const override { return pixels_.width(); }
    std::int64_t height() const override { return pixels_.height(); }
    bool opaque() const override { return opaque_; }
    CGColorSpace colorSpace() const override { return space_; }
    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        return std::make_unique<ResidentReader>(shared_from_this(), pixels_);
    }
    const Bitmap& pixels() const { return pixels_; }

private:
    const Bitmap pixels_;
    const bool opaque_;
    const CGColorSpace space_;
};

} // namespace

CGImage::CGImage(std::shared_ptr<const RowSource> source) : source_(std::move(source)) {
    if (const auto* resident = dynamic_cast<const ResidentRows*>(source_.get()))
        pixels_ = &resident->pixels();
}

CGImage::CGImage(Bitmap pixels, bool opaque, CGColorSpace space)
    : CGImage(std::make_shared<const ResidentRows>(std::move(pixels), opaque, std::move(space))) {}

std::expected<CGImage, ImageError> CGImage::decoded() const {
    if (pixels_)
        return *this;
    auto rows = reader();
    if (!rows)
        return std::unexpected(rows.error());
    Bitmap pixels(width(), height());
    if (auto read = (*rows)->read(pixels.row(0), pixels.stride(), height()); !read)
        return std::unexpected(read.error());
    return CGImage(std::move(pixels), opaque(), colorSpace());
}

CGImage CGImage::reduced(std::int64_t width, std::int64_t height) const {
    auto source = source_->reduced(width, height);
    return source ? CGImage(std::move(source)) : *this;
}

std::expected<CGImage, ImageError> CGImage::cropped(const CGRect& rect) const {
    const auto whole = decoded();
    if (!whole)
        return whole;
    const auto within = [](CGFloat place, std::int64_t length) -> std::int64_t {
        return std::llround(std::clamp(place, 0.0, static_cast<CGFloat>(length)));
    };
    const std::int64_t left = within(rect.minX(), width()), top = within(rect.minY(), height());
    const std::int64_t right = std::max(left, within(rect.maxX(), width()));
    const std::int64_t bottom = std::max(top, within(rect.maxY(), height()));
    Bitmap part(right - left, bottom - top);
    for (std::int64_t y = top; y < bottom; ++y)
        std::memcpy(part.row(y - top), whole->pixels()->row(y) + 4 * left, part.stride());
    return CGImage(std::move(part), opaque(), colorSpace());
}

} // namespace platform
