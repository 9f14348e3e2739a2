#pragma once

#include "Orbelquist/Frame.hpp"
#include "Orbelquist/KSVLazyImage.hpp"

#include <optional>

namespace orbelquist {

/// Loads an image and reads it once, from top to bottom, a few rows in memory at a time; nothing where it cannot be
/// loaded, its rows cannot be read, or there are more than half a million of them or of its columns.
std::optional<Frame> readFrame(KSVLazyImage& image);

} // namespace orbelquist
