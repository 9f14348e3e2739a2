#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace orbelquist {

/// What two frames show before whatever ground, such as a photograph that stands still behind the page: strokes, such
/// as text, on an even ground, whatever part of the photograph they lie on. Those lighter than it are light, those
/// darker dark.
struct Foreground {
    Frame a, b;
    std::vector<CellMask> unknownInA, unknownInB; ///< one a row: cells that may be strokes or photograph
};

/// Nothing where no photograph stands behind both frames, of one width, or too little of it is seen in both. Levels
/// within `tolerance` are equal.
std::optional<Foreground> foregroundOf(const Frame& a, const Frame& b, std::uint8_t tolerance);

/// Of two frames, each by itself: the strokes on the ground around them. None is unknown. Nothing of frames of more
/// than 16 megapixels.
std::optional<Foreground> strokesOf(const Frame& a, const Frame& b);

} // namespace orbelquist
