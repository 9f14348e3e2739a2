#pragma once

#include "Orbelquist/Kernels/CompareCells.hpp"

#include <bit>
#include <cstdlib>

namespace orbelquist::plain {

/// The definitions that the fast kernels are held to.

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

} // namespace orbelquist::plain
