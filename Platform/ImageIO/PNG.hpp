#pragma once

#include "Platform/ImageIO/ImageCodec.hpp"

namespace platform::png {

/// All kinds of PNG through libspng: row by row, except interlaced ones, which are decoded whole.
std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits);
std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription& description,
                                                             const ImageLimits& limits);

/// 8-bit RGB or RGBA, row by row.
std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options);

} // namespace platform::png
