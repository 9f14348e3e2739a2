#pragma once

#include "Platform/ImageIO/ImageCodec.hpp"

namespace platform::webp {

/// Still pictures, decoded whole; of an animation nothing is read.
std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits);
std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription& description,
                                                             const ImageLimits& limits);

/// Holds the whole picture until it is finished. Quality 100 is lossless.
std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options);

} // namespace platform::webp
