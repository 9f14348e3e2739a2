#include "Platform/ImageIO/ImageCodec.hpp"

#include <algorithm>
#include <string>

namespace platform {

const ImageCodec& codecOf(ImageFormat format) {
    switch (format) {
    case ImageFormat::png:
        break;
    case ImageFormat::jpeg:
        return jpegCodec;
    case ImageFormat::webp:
        return webpCodec;
    case ImageFormat::heif:
        return heifCodec;
    case ImageFormat::avif:
        return avifCodec;
    case ImageFormat::jxl:
        return jxlCodec;
    case ImageFormat::pdf:
        return pdfCodec;
    }
    return pngCodec;
}

std::optional<ImageError> sizeError(std::int64_t width, std::int64_t height, const ImageLimits& limits) {
    if (width <= 0 || height <= 0)
        return ImageError{ImageError::Code::damaged, "no pixels"};
    if (width > limits.maxPixels / height)
        return ImageError{ImageError::Code::tooLarge, std::to_string(width) + " x " + std::to_string(height) +
                                                          " pixels, " + std::to_string(limits.maxPixels) + " at most"};
    return std::nullopt;
}

std::optional<ImageError> memoryError(std::int64_t bytes, const ImageLimits& limits) {
    if (bytes <= limits.maxMemory)
        return std::nullopt;
    const auto megabytes = [](std::int64_t count) { return std::to_string((count + 999'999) / 1'000'000) + " MB"; };
    return ImageError{ImageError::Code::overMemory,
                      "about " + megabytes(bytes) + ", " + megabytes(limits.maxMemory) + " are allowed"};
}

CGColorSpace colorSpaceOf(std::vector<std::byte> profile) {
    // Bytes 16 to 19 of an ICC profile name the values it is for (ICC.1, table 17).
    constexpr char rgb[] = {'R', 'G', 'B', ' '};
    const bool isForRGB =
        profile.size() >= 128 && std::ranges::equal(std::span(profile).subspan(16, 4), std::as_bytes(std::span(rgb)));
    return isForRGB ? CGColorSpace::icc(std::move(profile)) : CGColorSpace::sRGB();
}

std::unique_ptr<RowReader> readerOfWhole(Bitmap pixels, bool opaque) {
    const CGImage image(std::move(pixels), opaque);
    return std::move(*image.reader()); // a resident image always has one
}

} // namespace platform
