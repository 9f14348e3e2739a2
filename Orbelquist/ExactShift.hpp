#pragma once

#include "Orbelquist/Verification.hpp"

namespace orbelquist {

/// By how much the pixels of a stretch differ at a shift, in square levels, without what stands behind the page.
double pixelDifference(const FramePair& pair, const Examination& stretch, std::int64_t shift);

/// The row at which the stretch's pixels differ least, from neighbour to neighbour: a candidate is the best of its
/// place by signatures alone.
std::int64_t exactShift(const FramePair& pair, const Examination& examination);

} // namespace orbelquist
