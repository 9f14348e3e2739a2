#pragma once

#include "Platform/CoreGraphics/Bitmap.hpp"
#include "Platform/CoreGraphics/CGColorSpace.hpp"
#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/CoreGraphics/ImageError.hpp"

#include <cstdint>
#include <expected>
#include <memory>

namespace platform {

// Everywhere in this floor and above: rows run from top to bottom, row 0 is the top edge; a pixel is four bytes R, G,
// B, A, premultiplied, with values in the image's own colour space.

/// Delivers an image's rows once, from top to bottom. One thread at a time. After an error it delivers nothing more.
class RowReader {
public:
    virtual ~RowReader() = default;

    /// Writes the next `count` rows to `rows`, `stride` bytes apart, 4 * width bytes each. Never asks for rows beyond
    /// the last one.
    [[nodiscard]] virtual std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride,
                                                               std::int64_t count) = 0;

    /// Moves past the next `count` rows, as cheaply as the format allows.
    [[nodiscard]] virtual std::expected<void, ImageError> skip(std::int64_t count) = 0;
};

/// Where an image's rows come from: memory, or an encoded file that is decoded anew by each reader. Immutable; any
/// thread, several readers at once.
class RowSource {
public:
    virtual ~RowSource() = default;
    virtual std::int64_t width() const = 0;
    virtual std::int64_t height() const = 0;
    virtual bool opaque() const = 0;
    virtual CGColorSpace colorSpace() const = 0;
    virtual std::expected<std::unique_ptr<RowReader>, ImageError> reader() const = 0;
    /// The same picture with fewer pixels, at least `width` by `height`, where decoding them is cheaper; else null.
    virtual std::shared_ptr<const RowSource> reduced(std::int64_t /*width*/, std::int64_t /*height*/) const {
        return nullptr;
    }
};

/// An immutable image: resident in memory, or backed by an encoded file and decoded as its rows are asked for.
/// A cheap handle over shared state; equal handles share it.
class CGImage {
public:
    explicit CGImage(std::shared_ptr<const RowSource> source);
    /// A resident image. `opaque` promises that every alpha is 255.
    CGImage(Bitmap pixels, bool opaque, CGColorSpace space = CGColorSpace::sRGB());

    std::int64_t width() const { return source_->width(); }
    std::int64_t height() const { return source_->height(); }
    bool opaque() const { return source_->opaque(); }
    CGColorSpace colorSpace() const { return source_->colorSpace(); }

    /// A reader at row 0. Fails where the encoded file cannot be opened any more.
    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const { return source_->reader(); }

    /// The pixels where the image is resident, else null. Valid as long as an image of this state lives.
    const Bitmap* pixels() const { return pixels_; }

    /// This image, resident: itself where it is already, else decoded whole.
    std::expected<CGImage, ImageError> decoded() const;

    /// This image with as few pixels as its file is decoded to cheaply, at least `width` by `height`; else itself.
    CGImage reduced(std::int64_t width, std::int64_t height) const;

    /// The part within `rect`, in pixels from the upper left corner and cut off at the image's edges, resident.
    std::expected<CGImage, ImageError> cropped(const CGRect& rect) const;

    friend bool operator==(const CGImage& a, const CGImage& b) { return a.source_ == b.source_; }

private:
    std::shared_ptr<const RowSource> source_;
    const Bitmap* pixels_ = nullptr; // owned by *source_
};

} // namespace platform
