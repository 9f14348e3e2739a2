#pragma once

#include "Orbelquist/Frame.hpp"

#include <span>

namespace orbelquist {

/// The cells in which two rows differ by no more than `tolerance` levels.
CellMask equalCells(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance);

/// How many of the cells `counted` differ by more.
int countDiffering(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance, CellMask counted);

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

/// Compares row k of `a` with that of `b` for element k of `result`, without the cells that either row ignores.
void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::span<RowAgreement> result);

/// The best of the stretches of rows that begin and end where they like: with most agreement, less twice what
/// contradicts; of equal ones the first.
struct BestRows {
    std::int16_t score = 0, contradicting = 0;
    std::int16_t overall = 0; ///< contradicting cells of all rows

    bool operator==(const BestRows&) const = default;
};

/// The shifts that are compared at once.
inline constexpr std::size_t shiftsAtOnce = 32;

/// What counts of as many rows adds up to in 16 bits.
inline constexpr std::size_t mostRows = 511;

/// For element s of `result`, up to `shiftsAtOnce`, compares the first `counts[s]` of `rows` of `still` with rows s
/// further down of `moving`: at most `mostRows`, and no more than of the element before.
void compareShifts(const RowsView& still, const RowsView& moving, std::uint8_t tolerance,
                   std::span<const std::uint32_t> rows, std::span<const std::size_t> counts,
                   std::span<BestRows> result);

} // namespace orbelquist
