#pragma once

#include "Orbelquist/Frame.hpp"
#include "Orbelquist/Furniture.hpp"

#include <cstdint>

namespace orbelquist {

/// A block of the screen, of one frame and of another at the same place, and the page that the other shows of it
/// `toPage` rows away. Rows and columns of pixels; the ends excluded.
struct ScreenBlock {
    const Frame& frame;
    const Frame& other;
    std::int64_t top, bottom, left, right;
    std::int64_t toPage;
    double noise = 0; ///< the variance of what is flat, in square levels
};

/// Whether the block belongs to what stands still on the screen. Its colours may differ, even be the opposite.
bool standsStill(const ScreenBlock& block);

/// Whether the block is of one level, and the same at that place of the other frame.
bool isStillGround(const ScreenBlock& block);

/// Whether the block may belong to a bar, be it of coloured or blurred glass: it stands still, or its pixels follow
/// from what stands there in the other frame and from what the page has there; with `shapeless`, also where it shows
/// next to no edges, as blurred glass does.
bool mayBeBar(const ScreenBlock& block, bool shapeless);

/// Whether the block's pixels follow from what stands there in the other frame, from what the page has there, or from
/// both, as of glass.
bool followsFromBoth(const ScreenBlock& block);

/// Whether the block's pixels follow from what the page has there, with less contrast.
bool followsFromPage(const ScreenBlock& block);

/// Whether both frames step from one level to another at the same row of the screen, within `reach` rows of one and
/// further than that from the bars, whose edges are no window's.
bool hasStandingEdge(const Frame& a, const Frame& b, const Furniture& furniture, std::int64_t row, std::int64_t reach);

} // namespace orbelquist
