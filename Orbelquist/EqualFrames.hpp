#pragma once

#include "Orbelquist/KSVPattern.hpp"
#include "Orbelquist/ShiftProfile.hpp"

#include <optional>

namespace orbelquist {

/// Nothing where the frames begin with different views. For two shots of one view, of which one may be a tall picture
/// that goes on below: both patterns with offset 0 where the content pins it, none valid where the view is blank or
/// repeats, so that it could as well have moved by a whole period.
std::optional<KSVPatternPair> equalFrames(const FramePair& pair);

} // namespace orbelquist
