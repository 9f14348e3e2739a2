#pragma once

#include "Orbelquist/KSVLazyImage.hpp"
#include "Orbelquist/KSVPattern.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"

#include <optional>

namespace host {

/// Both screenshots side by side, the second moved to where it matches (or comes nearest to it), so that equal rows lie
/// beside each other: green where the two agree, red where they contradict, blue what stands still on the screen, a
/// line where the seam lies. At the right the score of every shift: the length of the line at row r is that of the
/// second screenshot starting at row r of the picture. Nothing where one of the two cannot be read.
std::optional<platform::CGImage> pairPicture(orbelquist::KSVLazyImage& first, orbelquist::KSVLazyImage& second,
                                             const orbelquist::KSVPatternPair& pair);

} // namespace host
