#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/UIKit/UIImage.hpp"
#include "Velmorant/Model/Size.hpp"

#include <cstdint>
#include <optional>

namespace velmorant {

// Conversions and cuts of images. Those that always answer an image answer an empty one where drawing fails.

/// The image's own recipe if it has one, else a recipe made of its bitmap, which is not decoded yet.
platform::CIImage ksv_ciImage(const platform::UIImage& image);

/// The image's own bitmap if it has one, else one drawn from its recipe.
platform::CGImage ksv_cgImage(const platform::UIImage& image);

/// The recipe, drawn, at that scale and upright. Nothing where drawing fails.
std::optional<platform::UIImage> ksv_uiImage(const platform::CIImage& from, double scale);

/// Stretched to the size, in points of its scale, whatever the image's own proportions. Where the image cannot be read
/// on, the rest stays blank.
platform::UIImage ksv_resizing(const platform::UIImage& image, const PixelSize& size);
/// The same, cut off at a height in points: what lies below is not drawn.
platform::UIImage ksv_resizing(const platform::UIImage& image, const PixelSize& size, std::int64_t cutAt);

/// The part of the image's bitmap within `rect`, in pixels, at that scale.
platform::UIImage ksv_cropping(const platform::UIImage& image, const platform::CGRect& rect, std::int64_t scale);

} // namespace velmorant
