#pragma once

#include "Orbelquist/Kernels/CompareCells.hpp"
#include "Orbelquist/Kernels/ComparePixels.hpp"
#include "Orbelquist/Kernels/Edges.hpp"

#include <bit>
#include <cstdlib>

/// The definitions that the fast kernels are held to, under the same names.
namespace orbelquist::plain {

inline CellMask equalCells(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance) {
    CellMask equal = 0;
    for (std::size_t cell = 0; cell < cellCount; ++cell)
        equal |= CellMask{std::abs(a[cell] - b[cell]) <= tolerance} << cell;
    return equal;
}

inline void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::span<RowAgreement> result) {
    for (std::size_t i = 0; i < result.size(); ++i) {
        const CellMask counted = ~(a.ignored[i] | b.ignored[i]);
        const CellMask equal = equalCells(a.signature[i], b.signature[i], tolerance);
        result[i] = {static_cast<std::int16_t>(std::popcount(equal & a.informed[i] & b.informed[i] & counted)),
                     static_cast<std::int16_t>(std::popcount(~equal & counted))};
    }
}

inline void markEdges(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                      std::span<std::uint8_t> edges) {
    for (std::size_t x = 0; x < edges.size(); ++x) {
        const bool inner = x > 0 && x + 1 < edges.size();
        edges[x] =
            std::abs(above[x] - below[x]) > edgeLevels || (inner && std::abs(row[x - 1] - row[x + 1]) > edgeLevels);
    }
}

inline void comparePixels(const PixelRow& a, const PixelRow& b, std::uint8_t tolerance,
                          std::array<CellCounts, cellCount>& counts) {
    const std::size_t width = a.luma.size();
    for (std::size_t cell = 0; cell < cellCount; ++cell) {
        counts[cell] = {};
        for (std::size_t x = cell * width / cellCount; x < (cell + 1) * width / cellCount; ++x) {
            const bool differs = std::abs(a.luma[x] - b.luma[x]) > tolerance;
            counts[cell].contradicting = static_cast<std::uint16_t>(counts[cell].contradicting + differs);
            counts[cell].agreeing =
                static_cast<std::uint16_t>(counts[cell].agreeing + (!differs && a.edges[x] && b.edges[x]));
        }
    }
}

} // namespace orbelquist::plain
