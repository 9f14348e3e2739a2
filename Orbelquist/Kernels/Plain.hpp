#pragma once

#include "Orbelquist/Kernels/BlockSums.hpp"
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

inline void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::size_t step,
                        std::span<RowAgreement> result) {
    for (std::size_t k = 0, i = 0; k < result.size(); ++k, i += step) {
        const CellMask counted = ~(a.ignored[i] | b.ignored[i]);
        const CellMask equal = equalCells(a.signature[i], b.signature[i], tolerance);
        result[k] = {static_cast<std::int16_t>(std::popcount(equal & a.informed[i] & b.informed[i] & counted)),
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

inline void addPixels(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                      std::size_t rows, PixelSums& sums) {
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t x = row * stride; x < row * stride + columns; ++x) {
            const std::int64_t p = a[x], q = b[x], left = b[static_cast<std::ptrdiff_t>(x) - 1];
            sums.a += a[x], sums.b += b[x];
            sums.aa += static_cast<std::uint64_t>(p * p), sums.bb += static_cast<std::uint64_t>(q * q);
            sums.difference += static_cast<std::uint64_t>((p - q) * (p - q));
            sums.across += static_cast<std::uint64_t>((q - left) * (q - left));
            ++sums.count;
        }
}

} // namespace orbelquist::plain
