#pragma once

#include "Platform/ImageIO/ImageCodec.hpp"

namespace platform::png {

/// Through libspng: header, palette, colours and metadata.
std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits);

/// The everyday reader where it will have the file, else the general one. Both give the same rows and errors.
std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription& description,
                                                             const ImageLimits& limits);

/// The rows of the everyday kinds, straight from the inflated stream: 8-bit grey and colour with and without alpha, and
/// palettes; not interlaced. Takes `file` unless it is of another kind or odd: then it is left and the answer is null.
/// What turns out odd later is handed over to the general reader, which decides whether it is an error and says which.
std::unique_ptr<RowReader> everydayReader(InputFile& file, const ImageDescription& description,
                                          const ImageLimits& limits);

/// All kinds, through libspng: row by row, except interlaced ones, which are decoded whole.
std::expected<std::unique_ptr<RowReader>, ImageError> generalReader(InputFile file, const ImageDescription& description,
                                                                    const ImageLimits& limits);

/// 8-bit RGB or RGBA, row by row.
std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options);

} // namespace platform::png
