#pragma once

#include "Orbelquist/Frame.hpp"

#include <span>

namespace orbelquist {

/// The cells in which two rows differ by no more than `tolerance` levels.
CellMask equalCells(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance);

/// Rows of one image beside the rows of another: their signatures, the cells that carry information, and those that are
/// left out of account.
struct RowsView {
    const RowSignature* signature;
    const CellMask* informed;
    const CellMask* ignored;
};

/// How two rows compare.
struct RowAgreement {
    std::int16_t agreeing;      ///< cells equal within the tolerance and informed in both rows
    std::int16_t contradicting; ///< cells that differ by more

    bool operator==(const RowAgreement&) const = default;
};

/// Compares row k * step of `a` with that of `b` for element k of `result`, without the cells that either row ignores.
void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::size_t step,
                 std::span<RowAgreement> result);

} // namespace orbelquist
