#pragma once

#include "Orbelquist/Verification.hpp"

#include <cstdint>

namespace orbelquist {

/// Bands of a sixth of the screen: what agrees in so many is more than a few lines that occur twice.
inline constexpr std::int64_t manyBands = 16;
/// Blocks of three or four lines, and cells of one.
inline constexpr std::int64_t fewLines = 100;

/// Whether what was seen leaves no doubt but for other shifts that hold as well. Where nothing agrees nearly as much at
/// any other shift, values may have changed while the page was scrolled.
bool holds(const Examination& examination, const FramePair& pair, bool isAlone = false);

/// The same of strokes on whatever ground. What only one of the frames shows contradicts nothing there; so it is no
/// more than a part of what agrees, and that is many lines.
bool isSureOnAnyGround(const Examination& examination);

} // namespace orbelquist
