#pragma once

#include "Orbelquist/Overlap.hpp"

#include <cstdint>
#include <vector>

namespace orbelquist {

/// What of two frames laid over each other is not the page, and so contradicts nothing.
struct Explained {
    std::int64_t buttons = 0;     ///< blocks that a button or the like explains
    std::int64_t inEdgedBars = 0; ///< blocks that contradict in bars on the page's own ground, which are left out
    std::int64_t boxes = 0;       ///< blocks of boxes that hide the page
    std::int64_t barBands = 0;    ///< bands of bars that only one of the frames shows
    std::int64_t regionBands = 0; ///< bands of regions that change all through, without these
    std::int64_t filmBands = 0;   ///< of these, behind no window that stands still
    std::vector<Rows> leftOut;    ///< the rows of all these bars and regions
};

/// Marks the blocks of bars, buttons and boxes, and takes the bands of lone bars and of regions out of account.
Explained explain(Overlap& overlap);

} // namespace orbelquist
