#pragma once

#include "Platform/ImageIO/ImageCodec.hpp"

namespace platform::jpeg {

/// Through libjpeg's own interface, row by row (progressive ones hold their coefficients in memory). Its warnings are
/// errors: a file that ends early or contradicts itself gives no grey rows.
std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits);
std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription& description,
                                                             const ImageLimits& limits);
std::expected<std::unique_ptr<RowReader>, ImageError> reducedReader(InputFile file, int divisor,
                                                                    const ImageLimits& limits);

/// 4:4:4, as text wants it; transparency is dropped.
std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options);

} // namespace platform::jpeg
