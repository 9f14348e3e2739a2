#pragma once

#include "Orbelquist/ShiftProfile.hpp"

#include <cstdint>
#include <optional>

namespace orbelquist {

/// A shift examined on all pixels. They are judged in blocks, two cells wide and half a line of text high; a row of
/// blocks is a band. A block counts where it carries information and does not belong to the furniture, and is alike or
/// contradicts by its squared difference over its variance, which lossy coding hardly changes. Rows are those of the
/// second frame.
struct Examination {
    std::int64_t shift = 0;
    double difference = 0;            ///< of half of the like blocks at most: the frames' own noise
    std::uint8_t tolerance = 0;       ///< levels by which equal pixels may differ here
    std::int64_t first = 0, last = 0; ///< the stretch in which the page is seen to lie at this shift

    // In the stretch.
    std::int64_t agreeing = 0;      ///< blocks
    std::int64_t agreeingBands = 0; ///< bands with such blocks
    std::int64_t contradicting = 0; ///< blocks, but for those of one overlay and of moving regions
    std::int64_t hidden = 0;        ///< blocks that contradict within the one overlay
    std::int64_t movingBands = 0;   ///< bands of moving regions

    // Outside, in the overlap: contradicting blocks, but for those of a region that changes all through.
    std::int64_t glass = 0;  ///< where a bar may be, and what stands there stands still or is without shapes
    std::int64_t strays = 0; ///< where a bar may be, and nothing says that there is one
    std::int64_t beyond = 0; ///< further in than a bar is high
    std::int64_t changingBands = 0;

    /// Blocks that agree less all that do not.
    std::int64_t net() const { return agreeing - contradicting - hidden - glass - strays - beyond; }
};

/// Nothing where nothing speaks for the shift.
std::optional<Examination> examine(const FramePair& pair, std::int64_t shift);

/// Whether what was seen leaves no doubt but for other shifts that hold as well.
bool holds(const Examination& examination, const FramePair& pair);

} // namespace orbelquist
