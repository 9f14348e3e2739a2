#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"

#include "Fuzz/MemoryFile.hpp"
#include "Fuzz/Require.hpp"

#include <algorithm>
#include <optional>

namespace fuzz {

/// Rows from an image file: whole, or in steps of which every fourth is skipped.
struct ImageRows {
    platform::Bitmap pixels;
    std::int64_t rows = 0; ///< before an error

    static ImageRows of(const platform::CGImage& image, std::int64_t step, bool skips) {
        ImageRows result{platform::Bitmap(image.width(), image.height())};
        const auto reader = image.reader();
        while (reader && result.rows < image.height()) {
            const std::int64_t count = std::min(step, image.height() - result.rows);
            const bool isSkipped = skips && result.rows / step % 4 == 3;
            const auto done = isSkipped
                                  ? (*reader)->skip(count)
                                  : (*reader)->read(result.pixels.row(result.rows), result.pixels.stride(), count);
            if (!done)
                break;
            result.rows += count;
        }
        return result;
    }
};

/// An image file of arbitrary bytes, whose last one tells by how many rows it is read. It is read or refused, the same
/// way whatever the steps; no pixel is brighter than its alpha, and an opaque image has no transparent ones.
inline int readImage(const std::uint8_t* data, std::size_t size, platform::ImageFormat format) {
    using namespace platform;
    if (size == 0)
        return 0;
    const MemoryFile file(bytesOf(data, size));
    const auto source =
        CGImageSource::open(file.path(), {.maxPixels = 40'000, .maxChunkBytes = 1 << 18, .maxJpegScans = 20});
    if (!source || source->properties().format != format)
        return 0;
    const ImageProperties& properties = source->properties();
    require(properties.width > 0 && properties.height > 0 && properties.width * properties.height <= 40'000);
    const CGImage image = source->image();
    const std::int64_t step = 1 + data[size - 1] % 64;
    const ImageRows whole = ImageRows::of(image, image.height(), false), parts = ImageRows::of(image, step, true);
    require(parts.rows <= image.height() && (whole.rows == image.height()) == (parts.rows == image.height()));
    if (whole.rows < image.height())
        return 0;
    for (std::int64_t y = 0; y < image.height(); ++y) {
        const std::uint8_t *row = whole.pixels.row(y), *same = parts.pixels.row(y);
        require(y / step % 4 == 3 || std::equal(row, row + whole.pixels.stride(), same));
        for (std::int64_t x = 0; x < image.width(); ++x, row += 4)
            require(image.opaque() ? row[3] == 255 : std::max({row[0], row[1], row[2]}) <= row[3]);
    }
    require(uprightImage(image, properties.orientation).has_value());
    return 0;
}

} // namespace fuzz
