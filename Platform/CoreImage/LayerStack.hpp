#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/CoreImage/CIImage.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace platform::ci {

/// A screenshot in the picture, seen from the picture: rows count from its top edge downwards. It fades in over the
/// layers before it from row `fadeStart` to row `fadeEnd`, and hides them from there on.
struct Layer {
    CGImage image;
    std::int64_t top = 0;       ///< the picture's row of the image's first row
    std::int64_t fadeStart = 0; ///< fadeStart <= fadeEnd
    std::int64_t fadeEnd = 0;

    std::int64_t bottom() const { return top + image.height(); }
};

/// A recipe compiled flat: layers as wide as the picture, each over those before it. Nothing where the recipe is no
/// such stack. Linear in the recipe's length.
std::optional<std::vector<Layer>> layersOf(const CIImage& image, const CGRect& extent, const CGColorSpace& space);

} // namespace platform::ci
