#pragma once

#include "Platform/UIKit/UIImage.hpp"

namespace velmorant {

/// The image's own recipe if it has one, else a recipe made of its bitmap, which is not decoded yet.
platform::CIImage ksv_ciImage(const platform::UIImage& image);

} // namespace velmorant
