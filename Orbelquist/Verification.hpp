#pragma once

#include "Orbelquist/ShiftProfile.hpp"

#include <cstdint>
#include <optional>

namespace orbelquist {

/// A shift examined on all pixels. Rows are those of the second frame.
struct Examination {
    std::int64_t shift = 0;
    std::uint8_t tolerance = 0;       ///< levels by which equal pixels may differ here: the frames' own noise
    std::int64_t first = 0, last = 0; ///< the stretch in which the page is seen to lie at this shift
    std::int64_t agreeing = 0;        ///< edge pixels that are equal, in the stretch
    std::int64_t contradicting = 0;   ///< pixels that differ, in the stretch, but for those that one overlay hides
    std::int64_t agreeingRows = 0;    ///< rows of the stretch with edges that agree
    std::int64_t conflictRows = 0;    ///< rows of the stretch that differ, but for one overlay and moving regions
    std::int64_t hiddenRows = 0;      ///< rows of the stretch that differ by the one overlay
    std::int64_t glassRows = 0;       ///< rows outside that differ within a bar, where something may shine through
    std::int64_t strayRows = 0;       ///< rows of the overlap outside the stretch that differ and belong to no bar

    std::int64_t score() const { return agreeing - 2 * contradicting; }
};

/// Nothing where so many rows speak against the shift that it need not be looked at further.
std::optional<Examination> examine(const FramePair& pair, const Stretch& stretch);

/// Whether what was seen leaves no doubt but for other shifts that hold as well.
bool holds(const Examination& examination, const FramePair& pair);

} // namespace orbelquist
