#pragma once

#include "Orbelquist/Frame.hpp"

#include <array>
#include <cstdint>
#include <span>

namespace orbelquist {

/// How the pixels of a cell compare.
struct CellCounts {
    std::uint16_t agreeing;      ///< on an edge in both rows, and equal within the tolerance
    std::uint16_t contradicting; ///< different by more
};

/// A row of luma and of edges, as in `Frame`.
struct PixelRow {
    std::span<const std::uint8_t> luma;
    const std::uint8_t* edges;
};

/// Compares two rows of one width pixel by pixel and counts by cells, which lie as in `cellMeans`.
void comparePixels(const PixelRow& a, const PixelRow& b, std::uint8_t tolerance,
                   std::array<CellCounts, cellCount>& counts);

} // namespace orbelquist
