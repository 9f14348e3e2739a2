#pragma once

#include "Orbelquist/Frame.hpp"
#include "Orbelquist/KSVPattern.hpp"

#include <cstdint>

namespace orbelquist {

/// Compares two consecutive frames of a run.
KSVPatternPair matchFrames(const Frame& a, const Frame& b);

} // namespace orbelquist
