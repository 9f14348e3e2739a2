#pragma once

#include "Platform/CoreGraphics/Premultiplication.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/ImageIO/InputFile.hpp"

namespace platform {

/// What a decoder finds in a file's header.
struct ImageDescription {
    ImageProperties properties;
    CGColorSpace colorSpace;
    std::int64_t memory = 0; ///< bytes that decoding takes at once, about, where it is not done row by row
};

/// A format's way in and out. `inspect` decodes no pixels; `reader` is given a file that was inspected before.
struct ImageCodec {
    std::expected<ImageDescription, ImageError> (*inspect)(InputFile file, const ImageLimits& limits);
    std::expected<std::unique_ptr<RowReader>, ImageError> (*reader)(InputFile file, const ImageDescription& description,
                                                                    const ImageLimits& limits);
    std::expected<std::unique_ptr<CGImageDestination>, ImageError> (*writer)(ByteSink& sink, const ImageHeader& header,
                                                                             const EncodeOptions& options);
    std::int64_t maxHeight; ///< of pictures that are written, and their greatest width
    int bytesPerPixel = 0;  ///< that encoding takes at once, about; 0: it is done row by row
    /// Reads the picture `divisor` (1, 2, 4 or 8) times smaller along both axes, rounded up, for less work.
    std::expected<std::unique_ptr<RowReader>, ImageError> (*reducedReader)(InputFile file, int divisor,
                                                                           const ImageLimits& limits) = nullptr;
};

extern const ImageCodec pngCodec;
extern const ImageCodec jpegCodec;
extern const ImageCodec webpCodec;
extern const ImageCodec heifCodec;
extern const ImageCodec avifCodec;
extern const ImageCodec jxlCodec;
extern const ImageCodec pdfCodec;

const ImageCodec& codecOf(ImageFormat format);

/// The error of a size beyond the limits, or none.
std::optional<ImageError> sizeError(std::int64_t width, std::int64_t height, const ImageLimits& limits);

/// The error of a picture that would take more bytes at once than allowed, or none.
std::optional<ImageError> memoryError(std::int64_t bytes, const ImageLimits& limits);

/// The profile of an RGB image; sRGB where it is none for RGB values.
CGColorSpace colorSpaceOf(std::vector<std::byte> profile);

/// Hands out the rows of a picture that had to be decoded whole.
std::unique_ptr<RowReader> readerOfWhole(Bitmap pixels, bool opaque);

} // namespace platform
