#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <vector>

namespace orbelquist {

/// What stands still on the screen while the page scrolls: bars, buttons, side bars, a wallpaper. It says nothing of
/// how the page moved.
struct Furniture {
    std::vector<CellMask> cells; ///< one a row of the screen
    std::int64_t topRows = 0;    ///< rows at the screen's top that stand still over their whole width
    std::int64_t bottomRows = 0; ///< rows at its bottom
};

/// Cell by cell: what is equal in both frames at the same place and holds an edge, and the flat between two such edges.
/// Levels within `tolerance` are equal.
Furniture furnitureOf(const Frame& a, const Frame& b, std::uint8_t tolerance);

} // namespace orbelquist
