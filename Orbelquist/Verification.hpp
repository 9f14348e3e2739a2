#pragma once

#include "Orbelquist/Explanation.hpp"
#include "Orbelquist/ShiftProfile.hpp"

#include <cstdint>
#include <optional>

namespace orbelquist {

/// Fewer blocks that agree are chance, and up to so many may be a line that occurs twice.
inline constexpr std::int64_t leastAgreeing = 10, noDoubtBelow = 50;

/// A shift examined on all pixels, block by block. Rows are those of the second frame.
struct Examination {
    std::int64_t shift = 0;
    double difference = 0;            ///< of half of the like blocks at most: the frames' own noise
    std::int64_t first = 0, last = 0; ///< the stretch in which the page is seen to lie at this shift
    std::int64_t pageRows = 0;        ///< its rows without those of bars

    std::int64_t agreeing = 0;      ///< blocks of the stretch
    std::int64_t upright = 0;       ///< of those that agree, the sides of cards and the like, which tell no row
    std::int64_t certain = 0;       ///< of those that agree, the page for certain and not a picture behind it
    std::int64_t agreeingBands = 0; ///< bands in which any agree
    std::int64_t unclear = 0;       ///< blocks of the stretch that are neither alike nor not

    /// Blocks that contradict: with other shapes on the same ground, or with something else altogether.
    struct Against {
        std::int64_t shapes = 0;
        std::int64_t covered = 0;
        std::int64_t all() const { return shapes + covered; }
    };
    Against inside;       ///< in the stretch, without the overlay
    Against overlay;      ///< in the one window in which most contradicts
    Against edge;         ///< outside, where a bar may be
    Against beyond;       ///< outside, further in than a bar is high
    std::int64_t bar = 0; ///< blocks outside that a bar explains
    Explained explained;  ///< of the whole overlap

    /// Blocks that agree. What may be a picture behind the page, which agrees with itself in many places, counts a
    /// quarter.
    std::int64_t evidence() const { return (agreeing + 3 * certain) / 4; }
    /// Blocks that contradict and belong to no bar.
    std::int64_t against() const { return inside.all() + overlay.all() + edge.all() + beyond.all(); }
    /// What would be left of it if most of what covers it were films and bars.
    std::int64_t atBest() const {
        return evidence() - 3 * (inside.shapes + overlay.shapes + edge.shapes + beyond.shapes) -
               (inside.covered + overlay.covered + edge.covered + beyond.covered) / 2 - explained.inEdgedBars;
    }
    /// What is left of the agreement when every block that contradicts, or would without a button, takes three with it,
    /// and every bar's one.
    std::int64_t net() const { return evidence() - 3 * (against() + explained.buttons) - bar - explained.inEdgedBars; }
};

/// Nothing where nothing speaks for the shift.
std::optional<Examination> examine(const FramePair& pair, std::int64_t shift);

} // namespace orbelquist
