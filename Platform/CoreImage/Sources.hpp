#pragma once

#include "Platform/CoreImage/CIImage.hpp"

#include <vector>

namespace platform::ci {

/// The nodes of a recipe that are bitmaps, each once.
std::vector<const Node*> sourcesOf(const CIImage& image);

/// The colour space of the sources where they have one in common, else sRGB.
CGColorSpace commonColorSpace(const std::vector<const Node*>& sources);

/// `image` with its values in `space`: itself where they are already, else converted to sRGB as its rows are read.
CGImage sourceIn(const CGColorSpace& space, const CGImage& image);

} // namespace platform::ci
