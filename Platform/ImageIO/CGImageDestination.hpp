#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/Foundation/ByteSink.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// What is written besides the rows.
struct ImageHeader {
    std::int64_t width = 0;
    std::int64_t height = 0;
    bool opaque = false; ///< no alpha channel is written; every alpha must be 255
    CGColorSpace colorSpace;
    std::optional<DateComponents> captureDate; ///< local time with its offset from GMT
    std::string software;                      ///< the mark by which the program knows its own pictures
};

/// What a lossless format spends time on.
enum class EncodeEffort {
    fast,  ///< the least time
    usual, ///< a size like other programs'
    small, ///< the least size
};

/// How a picture lies on the pages of a document.
struct PDFPages {
    std::vector<std::int64_t> rows; ///< of the picture on each page, from the top; empty: all on one
    int width = 0;                  ///< of every page, in points, filled by the picture's width; 0: as tall and wide
    int height = 0; ///< as its part of the picture, at a point a pixel, or as small as 14,400 points need
};

struct EncodeOptions {
    int quality = 92; ///< of lossy formats, 1 to 100
    EncodeEffort effort = EncodeEffort::usual;
    PDFPages pages = {}; ///< of PDF
};

/// Encodes one image from its rows, in bands, top to bottom. One thread at a time.
class CGImageDestination {
public:
    virtual ~CGImageDestination() = default;

    /// Fails before anything is written where the format cannot hold the image: `tooLarge`, `detail` naming the limit,
    /// or `overMemory`, where that would take more than the device allows.
    [[nodiscard]] static std::expected<std::unique_ptr<CGImageDestination>, ImageError>
    make(ImageFormat format, ByteSink& sink, const ImageHeader& header, const EncodeOptions& options = {});

    /// The most rows that a picture of the format can have.
    static std::int64_t maxHeight(ImageFormat format);
    /// Bytes that encoding a picture takes at once, about; 0 where it is done row by row.
    static std::int64_t memoryFor(ImageFormat format, std::int64_t width, std::int64_t height);

    /// Takes the next `count` rows, `stride` bytes apart: RGBA8, premultiplied.
    [[nodiscard]] virtual std::expected<void, ImageError> write(const std::uint8_t* rows, std::size_t stride,
                                                                std::int64_t count) = 0;

    /// Ends the file after the last row; the sink then holds a whole image.
    [[nodiscard]] virtual std::expected<void, ImageError> finish() = 0;
};

} // namespace platform
