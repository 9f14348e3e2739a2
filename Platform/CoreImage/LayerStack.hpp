#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/CoreImage/CIImage.hpp"
#include "Platform/CoreImage/RowStack.hpp"

#include <optional>
#include <vector>

namespace platform::ci {

/// A screenshot in the picture.
struct Layer {
    CGImage image;
    RowPlacement rows;
};

/// A recipe compiled flat: layers as wide as the picture, each over those before it. Nothing where the recipe is no
/// such stack. Linear in the recipe's length.
std::optional<std::vector<Layer>> layersOf(const CIImage& image, const CGRect& extent, const CGColorSpace& space);

} // namespace platform::ci
