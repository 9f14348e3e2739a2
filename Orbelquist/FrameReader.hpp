#pragma once

#include "Orbelquist/Frame.hpp"
#include "Orbelquist/KSVLazyImage.hpp"

#include <optional>

namespace orbelquist {

/// Loads an image and reads it once, from top to bottom, a few rows in memory at a time; nothing where it cannot be
/// loaded or its rows cannot be read.
std::optional<Frame> readFrame(KSVLazyImage& image);

} // namespace orbelquist
