#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"

namespace platform {

/// `image` with values in sRGB, converted while its rows are read: relative colorimetric with black point compensation,
/// so that neutral colours stay neutral. A profile that cannot be used counts as sRGB.
CGImage convertedToSRGB(const CGImage& image);

} // namespace platform
