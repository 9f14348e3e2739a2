#pragma once

#include "Orbelquist/ShiftProfile.hpp"

#include <cstdint>

namespace orbelquist {

/// A shift examined on all pixels.
struct Examination {
    std::int64_t shift = 0;
    std::uint8_t tolerance = 0;       ///< levels by which equal pixels may differ here: the frames' own noise
    std::int64_t first = 0, last = 0; ///< rows of the second frame in which the page is seen to lie at this shift
    std::int64_t agreeing = 0;        ///< edge pixels equal in both frames, there
    std::int64_t contradicting = 0;   ///< pixels that differ, there
    std::int64_t agreeingRows = 0;    ///< rows with agreeing pixels, there
    std::int64_t conflictRows = 0; ///< rows there with cells that contradict and no moving region or overlay explains
    std::int64_t overlayRows = 0;  ///< height of the one overlay that was forgiven there
    std::int64_t strayRows = 0;    ///< rows outside, within the overlap, that contradict though they are no bar's
    std::int64_t noise = 0;        ///< median difference of edge pixels, levels

    std::int64_t score() const { return agreeing - 2 * contradicting; }
};

Examination examine(const FramePair& pair, const Stretch& stretch);

} // namespace orbelquist
