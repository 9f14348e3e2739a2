#pragma once

#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Tests/Support/MemorySink.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace platform {

/// Pictures that other programs made.
inline const std::filesystem::path filesOfOthers = std::filesystem::path(VELMORANT_SOURCE_DIR) / "Tests/Files";

/// Writes `image` with its size into `sink`, in bands of `bandHeight` rows.
inline std::expected<void, ImageError> write(const CGImage& image, ImageFormat format, ByteSink& sink,
                                             ImageHeader header = {}, const EncodeOptions& options = {},
                                             std::int64_t bandHeight = 1000) {
    header.width = image.width();
    header.height = image.height();
    header.opaque = image.opaque();
    auto destination = CGImageDestination::make(format, sink, header, options);
    if (!destination)
        return std::unexpected(destination.error());
    const Bitmap& pixels = *image.pixels();
    for (std::int64_t row = 0; row < image.height(); row += bandHeight)
        if (auto done =
                (*destination)->write(pixels.row(row), pixels.stride(), std::min(bandHeight, image.height() - row));
            !done)
            return done;
    return (*destination)->finish();
}

inline std::string encoded(const CGImage& image, ImageFormat format, const ImageHeader& header = {},
                           const EncodeOptions& options = {}, std::int64_t bandHeight = 1000) {
    MemorySink sink;
    const auto done = write(image, format, sink, header, options, bandHeight);
    EXPECT_TRUE(done) << done.error().detail;
    return sink.bytes;
}

/// What reading the whole file gives: an error, of the header or of the rows, or the picture as it is stored.
inline std::expected<CGImage, ImageError> decoded(const std::filesystem::path& file, const ImageLimits& limits = {}) {
    const auto source = CGImageSource::open(file, limits);
    if (!source)
        return std::unexpected(source.error());
    return source->image().decoded();
}

/// Of any two channels in one place; 256 for pictures of two sizes.
inline int largestDifference(const CGImage& a, const CGImage& b) {
    if (a.width() != b.width() || a.height() != b.height())
        return 256;
    int largest = 0;
    for (std::size_t i = 0; i < a.pixels()->bytes().size(); ++i)
        largest = std::max(largest, std::abs(a.pixels()->bytes()[i] - b.pixels()->bytes()[i]));
    return largest;
}

} // namespace platform
