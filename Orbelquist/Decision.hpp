#pragma once

#include "Orbelquist/KSVPattern.hpp"
#include "Orbelquist/ShiftProfile.hpp"
#include "Orbelquist/Verification.hpp"

#include <cstdint>

namespace orbelquist {

/// Within so many strokes, two lines of text, places have some in common.
inline constexpr std::int64_t nearbyStrokes = 4;

/// Where the page lies, or why that is not told. At least `leastAlike` blocks must agree. The seam is that of the
/// frames that are shown: those of the pair, or those that it was made from.
KSVPatternPair decide(const FramePair& pair, std::int64_t leastAlike, const FramePair& shown);

inline KSVPatternPair decide(const FramePair& pair, std::int64_t leastAlike = 0) {
    return decide(pair, leastAlike, pair);
}

/// No more than one of twenty blocks, or cells, contradicts.
inline bool isHardlyContradicted(std::int64_t agreeing, std::int64_t contradicting) {
    return contradicting * 20 <= agreeing;
}

KSVVerdict verdictOn(const Examination& e, KSVVerdict::Kind kind, const FramePair& pair);

/// The answer of a pair that lies at the shift examined: the seam in the direction that the page moved.
KSVPatternPair joinedAt(const Examination& e, const KSVVerdict& verdict, const FramePair& pair);

} // namespace orbelquist
