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

struct EncodeOptions {
    int quality = 92; ///< of lossy formats, 1 to 100
    EncodeEffort effort = EncodeEffort::usual;
};

/// Encodes one image from its rows, in bands, top to bottom. One thread at a time.
class CGImageDestination {
public:
    virtual ~CGImageDestination() = default;

    /// Fails before anything is written where the format cannot hold the image: `tooLarge`, `detail` naming the limit.
    [[nodiscard]] static std::expected<std::unique_ptr<CGImageDestination>, ImageError>
    make(ImageFormat format, ByteSink& sink, const ImageHeader& header, const EncodeOptions& options = {});

    /// The most rows that a picture of the format can have.
    static std::int64_t maxHeight(ImageFormat format);

    /// Takes the next `count` rows, `stride` bytes apart: RGBA8, premultiplied.
    [[nodiscard]] virtual std::expected<void, ImageError> write(const std::uint8_t* rows, std::size_t stride,
                                                                std::int64_t count) = 0;

    /// Ends the file after the last row; the sink then holds a whole image.
    [[nodiscard]] virtual std::expected<void, ImageError> finish() = 0;
};

} // namespace platform
