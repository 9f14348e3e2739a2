#pragma once

#include "Orbelquist/Backdrop.hpp"
#include "Orbelquist/BlockComparison.hpp"
#include "Orbelquist/Foreground.hpp"
#include "Orbelquist/Frame.hpp"
#include "Orbelquist/Furniture.hpp"
#include "Orbelquist/Kernels/CompareCells.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orbelquist {

/// From `first` up to `last`.
struct Rows {
    std::int64_t first = 0, last = 0;
    std::int64_t count() const { return last - first; }
};

/// Two frames and what stands still between them, to be laid over each other at any shift: row r of the second on row
/// r + shift of the first.
class FramePair {
public:
    FramePair(const Frame& a, const Frame& b, std::uint8_t tolerance);

    /// The same frames, with the bars that stand still over their whole width as the only furniture, and no
    /// backdrop.
    FramePair withBarsAlone() const;

    /// The same frames, as if nothing stood still but by chance.
    FramePair withoutFurniture() const;

    /// The same frames, as of a page that moves in front of a picture, which is left out of account; nothing where none
    /// stands there. Other frames of the run, of the same width, may show more of it.
    std::optional<FramePair> withBackdrop(std::span<const Frame* const> neighbours) const;

    /// What is told of the page before a photograph in place of the frames, with the bars that stand still over their
    /// whole width as the only furniture.
    FramePair withForeground(const Foreground& foreground) const;

    /// The same frames without some rows of the second one, nor those of the first that they lie on at a shift.
    FramePair withoutRows(std::span<const Rows> rows, std::int64_t shift) const;

    FramePair withoutBackdrop() const { return FramePair(a_, b_, tolerance_, furniture_); }

    const Frame& a() const { return a_; }
    const Frame& b() const { return b_; }
    const Furniture& furniture() const { return furniture_; }
    bool hasBackdrop() const { return blocksOfBackdrop_ > 0; }
    bool isBackdropCovered() const { return isBackdropCovered_; }
    std::int64_t blocksOfBackdrop() const { return blocksOfBackdrop_; }
    bool isForeground() const { return isForeground_; }
    std::uint8_t tolerance() const { return tolerance_; }

    /// The cells of a row of the screen that stand still.
    CellMask furnitureAt(std::int64_t row) const {
        return row < std::ssize(furniture_.cells) ? furniture_.cells[static_cast<std::size_t>(row)] : CellMask{0};
    }

    /// The frames without these rows of each; nothing where they are hardly more than the bars that are known.
    std::optional<FramePair> withoutEdges(const ScreenEdges& ofA, const ScreenEdges& ofB) const;

    /// The rows of the second frame that lie on the first: from `first` up to `last`.
    std::int64_t firstRow(std::int64_t shift) const { return shift < 0 ? -shift : 0; }
    std::int64_t lastRow(std::int64_t shift) const { return std::min(b_.height, a_.height - shift); }
    /// Of these the rows that lie on no bar of either screen, likewise.
    std::int64_t firstPageRow(std::int64_t shift) const {
        return std::max({firstRow(shift), furniture_.topRows, furniture_.topRows - shift});
    }
    std::int64_t lastPageRow(std::int64_t shift) const { return lastRow(shift) - furniture_.bottomRows; }

    /// The frames laid over each other, without the furniture of either.
    BlockComparison::Layout layout(std::int64_t shift) const {
        return {.a = a_,
                .b = b_,
                .shift = shift,
                .first = firstRow(shift),
                .last = lastRow(shift),
                .ignoredInA = ignoredInA_,
                .ignoredInB = ignoredInB_,
                .pageInA = pageInA_,
                .pageInB = pageInB_,
                .areStrokes = isForeground_};
    }

    /// How these rows compare, in order, without the furniture of either. `rows` is reused memory.
    void compare(std::int64_t shift, std::vector<RowAgreement>& rows) const;

    // The cells of a row of either frame that stand still.
    CellMask ignoredInA(std::int64_t row) const { return ignoredInA_[static_cast<std::size_t>(row)]; }
    CellMask ignoredInB(std::int64_t row) const { return ignoredInB_[static_cast<std::size_t>(row)]; }
    std::span<const CellMask> ignoredInA() const { return ignoredInA_; }
    std::span<const CellMask> ignoredInB() const { return ignoredInB_; }

    RowsView rowsOfA() const { return {a_.signature.data(), a_.informed.data(), ignoredInA_.data()}; }
    RowsView rowsOfB() const { return {b_.signature.data(), b_.informed.data(), ignoredInB_.data()}; }

private:
    FramePair(const Frame& a, const Frame& b, std::uint8_t tolerance, Furniture furniture);

    const Frame& a_;
    const Frame& b_;
    const std::uint8_t tolerance_;
    const Furniture furniture_;
    std::vector<CellMask> ignoredInA_, ignoredInB_; ///< as high as the frames
    std::vector<CellMask> pageInA_, pageInB_;       ///< likewise, or empty: all of it may be
    std::int64_t blocksOfBackdrop_ = 0;
    bool isBackdropCovered_ = false, isForeground_ = false;
};

/// The stretch of rows in which the page lies at a shift: agreement minus twice the contradiction is greatest. Blank
/// rows count nothing, so bars at the ends cut themselves off.
struct Stretch {
    std::int64_t shift = 0;
    std::int64_t first = 0, last = 0; ///< rows of the second frame
    std::int64_t agreeing = 0;        ///< cells
    std::int64_t contradicting = 0;   ///< cells
    std::int64_t overall = 0;         ///< contradicting cells of the whole overlap
    std::int64_t step = 1;            ///< of the rows that hold anything, one of so many was looked at and counted

    std::int64_t score() const { return agreeing - 2 * contradicting; }
};

Stretch bestStretch(std::int64_t shift, std::int64_t firstRow, const std::vector<RowAgreement>& rows);

} // namespace orbelquist
