#pragma once

#include "Platform/ImageIO/CodecsProtocol.hpp"
#include "Platform/ImageIO/ImageCodec.hpp"

/// Formats that the helper `velmorant-codecs` reads and writes: a process for each picture, with a limit on its memory
/// and on the time for which it says nothing. It holds the whole picture, this process a few rows of it.
namespace platform::codecs {

/// What the formats are called in its arguments.
const char* nameOf(ImageFormat format);

std::expected<ImageDescription, ImageError> inspect(ImageFormat format, InputFile file, const ImageLimits& limits);
std::expected<std::unique_ptr<RowReader>, ImageError>
reader(ImageFormat format, InputFile file, const ImageDescription& description, const ImageLimits& limits);
std::expected<std::unique_ptr<CGImageDestination>, ImageError>
writer(ImageFormat format, ByteSink& sink, const ImageHeader& header, const EncodeOptions& options);

/// Bytes that the helper takes at once for a pixel that it decodes, and no less: measured, see docs/formats.md.
constexpr std::int64_t bytesPerPixelRead = 20;

} // namespace platform::codecs
