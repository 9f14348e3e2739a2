#include "Orbelquist/FrameReader.hpp"

#include "Platform/CoreImage/CIContext.hpp"

#include <algorithm>
#include <utility>

namespace orbelquist {

namespace {

constexpr std::int64_t rowsAtATime = 16; // some 75 kB of a phone's screenshot: they stay in the cache

/// No picture that is higher or wider is matched. Each row costs 328 bytes besides its pixels, however few these are.
constexpr std::int64_t longestSide = 1 << 19;

std::optional<platform::CGImage> bitmapOf(const platform::UIImage& image) {
    if (image.cgImage())
        return image.cgImage();
    auto drawn = platform::CIContext().createCGImage(*image.ciImage(), image.ciImage()->extent());
    return drawn ? std::optional(std::move(*drawn)) : std::nullopt;
}

} // namespace

std::optional<Frame> readFrame(KSVLazyImage& lazy) {
    std::optional<platform::UIImage> loaded;
    lazy.loadImage([&](std::optional<platform::UIImage> image) { loaded = std::move(image); });
    const auto image = loaded ? bitmapOf(*loaded) : std::nullopt;
    auto reader = image ? image->reader().value_or(nullptr) : nullptr;
    if (!reader || std::max(image->width(), image->height()) > longestSide)
        return std::nullopt;

    FrameBuilder builder(image->width(), image->height());
    platform::Bitmap rows(image->width(), rowsAtATime);
    for (std::int64_t row = 0; row < image->height(); row += rowsAtATime) {
        const std::int64_t count = std::min(rowsAtATime, image->height() - row);
        if (!reader->read(rows.row(0), rows.stride(), count))
            return std::nullopt;
        builder.add(rows.row(0), rows.stride(), count);
    }
    return builder.finish();
}

} // namespace orbelquist
