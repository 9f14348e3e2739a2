#pragma once

#include "Platform/CoreImage/CIImage.hpp"
#include "Platform/Foundation/ByteSink.hpp"
#include "Platform/Foundation/Date.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"

#include <expected>
#include <functional>

namespace platform {

/// Draws `extent` of `recipe` band by band into `sink`, never through a bitmap of the whole. `captureDate` and the
/// device's software mark go into the metadata. Stops with `cancelled` once `isCancelled`, which may be empty, says so.
[[nodiscard]] std::expected<void, ImageError> writeImage(const CIImage& recipe, const CGRect& extent,
                                                         ImageFormat format, const EncodeOptions& options,
                                                         const Date& captureDate, ByteSink& sink,
                                                         const std::function<bool()>& isCancelled = {});

} // namespace platform
