#pragma once

#include "Orbelquist/BlockComparison.hpp"
#include "Orbelquist/Frame.hpp"
#include "Orbelquist/KSVPattern.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orbelquist {

/// Compares two consecutive frames of a run.
KSVPatternPair matchFrames(const Frame& a, const Frame& b);

/// Whether there is no place at which the frames may lie, as far as those two tell, or only lines that occur elsewhere,
/// too.
bool findsNothing(const KSVVerdict& verdict);

/// Compares such frames again, of one width, with others of the run, which may show more of a picture that stands still
/// behind the page. Nothing where there is no picture, or no place before it.
std::optional<KSVPatternPair> matchAmong(const Frame& a, const Frame& b, std::span<const Frame* const> neighbours);

/// The pair at a shift that is told by others, where hardly anything contradicts it; else nothing.
std::optional<KSVPatternPair> matchAt(const Frame& a, const Frame& b, std::int64_t shift);

/// What the matcher sees of two frames of one width, for people to look at. Rows and columns of pixels.
struct PairView {
    /// A part of the second frame, laid on the first at a shift.
    struct Patch {
        std::int64_t left, top, right, bottom;
        Block block;
    };
    /// How well the signatures agree at a shift, in cells; above 0.
    struct Score {
        std::int64_t shift, score;
    };
    std::vector<Patch> patches;
    std::vector<Score> scores;   ///< by shift
    std::vector<CellMask> still; ///< one a row of the screen: what stands still there
};
PairView viewOf(const Frame& a, const Frame& b, std::int64_t shift);

} // namespace orbelquist
