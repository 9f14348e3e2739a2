#include "Platform/ImageIO/CGImageSource.hpp"

#include <algorithm>
#include <cstring>

namespace platform {

namespace {

/// Where the pixel that is shown at (x, y) is stored: origin + x * alongX + y * alongY, in pixels.
struct Walk {
    std::int64_t origin, alongX, alongY;
};

Walk walkOf(ImageOrientation orientation, std::int64_t width, std::int64_t height) {
    const std::int64_t lastColumn = width - 1, lastRow = (height - 1) * width;
    using enum ImageOrientation;
    switch (orientation) {
    case up:
        break;
    case upMirrored:
        return {lastColumn, -1, width};
    case down:
        return {lastRow + lastColumn, -1, -width};
    case downMirrored:
        return {lastRow, 1, -width};
    case leftMirrored:
        return {0, width, 1};
    case right:
        return {lastRow, -width, 1};
    case rightMirrored:
        return {lastRow + lastColumn, -width, -1};
    case left:
        return {lastColumn, width, -1};
    }
    return {0, 1, width};
}

} // namespace

std::expected<CGImage, ImageError> uprightImage(const CGImage& image, ImageOrientation orientation) {
    if (orientation == ImageOrientation::up)
        return image;
    const auto stored = image.decoded();
    if (!stored)
        return stored;

    const bool turned = isQuarterTurn(orientation);
    Bitmap upright(turned ? image.height() : image.width(), turned ? image.width() : image.height());
    const Walk walk = walkOf(orientation, image.width(), image.height());
    const std::uint8_t* pixels = stored->pixels()->row(0);
    constexpr std::int64_t block = 32; // a quarter turn reads columns: blocks keep them in the cache
    for (std::int64_t y0 = 0; y0 < upright.height(); y0 += block)
        for (std::int64_t x0 = 0; x0 < upright.width(); x0 += block)
            for (std::int64_t y = y0; y < std::min(y0 + block, upright.height()); ++y) {
                std::uint8_t* row = upright.row(y);
                for (std::int64_t x = x0; x < std::min(x0 + block, upright.width()); ++x)
                    std::memcpy(row + 4 * x, pixels + 4 * (walk.origin + x * walk.alongX + y * walk.alongY), 4);
            }
    return CGImage(std::move(upright), image.opaque(), image.colorSpace());
}

} // namespace platform
