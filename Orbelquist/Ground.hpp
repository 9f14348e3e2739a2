#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <vector>

namespace orbelquist {

/// What each pixel's surroundings are without the strokes in them: the mean of the pixels near it that are near their
/// own mean. As many as the frame's luma, in its order.
std::vector<std::uint8_t> groundOf(const Frame& frame);

} // namespace orbelquist
