#pragma once

#include "Orbelquist/ShiftProfile.hpp"

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace orbelquist {

/// Shifts this close are one place: neighbours of the true shift agree nearly as well in soft content.
inline constexpr std::int64_t onePlace = 3;

/// An overlap of fewer rows is not looked for.
inline constexpr std::int64_t leastOverlap = 12;

/// The stretch of rows in which the page lies at a shift. `rows` is reused memory.
Stretch stretchAt(const FramePair& pair, std::int64_t shift, std::vector<RowAgreement>& rows);

/// The stretches, without their rows, of all shifts but 0, at which equal frames are recognised apart, up to `furthest`
/// up and down; where more agrees than not, in some rows of each. By shift.
std::vector<Stretch> sampledStretches(const FramePair& pair,
                                      std::int64_t furthest = std::numeric_limits<std::int64_t>::max());

/// The best of the stretches and what lies next to it, looked at in all rows: most often it is the place. Nothing where
/// there are none.
std::optional<Stretch> bestOf(const FramePair& pair, std::span<const Stretch> sampled);

/// The best of the places of which some rows were looked at, now looked at in all rows, where at least so many cells
/// agree: few enough to be examined on all pixels. Best first.
std::vector<Stretch> candidates(const FramePair& pair, std::vector<Stretch> sampled, std::int64_t least);

} // namespace orbelquist
