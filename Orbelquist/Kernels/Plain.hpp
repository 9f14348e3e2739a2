#pragma once

#include "Orbelquist/Kernels/CompareCells.hpp"
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

} // namespace orbelquist::plain
