#include "Orbelquist/Furniture.hpp"

#include "Orbelquist/Kernels/CompareCells.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace orbelquist {

namespace {

/// Flat cells between two edges that stand still belong to the same piece of furniture when the edges are no further
/// apart than a bar is high: a sixteenth of the screen.
constexpr std::int64_t barsPerScreen = 16;

/// A row stands still over its whole width when all but this many cells do: a clock or a badge may change meanwhile.
constexpr int changingCells = 4;

/// The rows from the screen's edge inwards that stand still, up to the last one with an edge: blank rows behind the bar
/// may be the page's. `row(i)` is the i-th row from that edge.
template <class Row>
std::int64_t stillRows(std::int64_t height, const std::vector<CellMask>& equal, const std::vector<CellMask>& informed,
                       Row row) {
    std::int64_t still = 0;
    for (std::int64_t i = 0; i < height; ++i) {
        const auto y = static_cast<std::size_t>(row(i));
        if (std::popcount(equal[y]) < cellCount - changingCells)
            break;
        if (informed[y] != 0)
            still = i + 1;
    }
    return still;
}

/// What stands still by itself (a title, an icon) is at least this high, a small letter: lesser likenesses are chance.
constexpr std::int64_t leastPiece = 160;

/// The rows from the screen's edge inwards up to the last piece that stands still, one following the other.
template <class Row>
std::int64_t barRows(const Furniture& furniture, std::int64_t height, Row row) {
    std::int64_t bar = 0;
    std::array<std::int64_t, cellCount> run = {};
    for (std::int64_t i = 0; i * tallestBar < height && i <= bar + height / barsPerScreen; ++i) {
        const CellMask still = furniture.cells[static_cast<std::size_t>(row(i))];
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            run[cell] = still >> cell & 1 ? run[cell] + 1 : 0;
            if (run[cell] * leastPiece >= height)
                bar = i + 1;
        }
    }
    return bar;
}

/// Leaves only what is as high as a piece of furniture: text that scrolls has likenesses of a few rows everywhere.
void dropSlight(std::vector<CellMask>& cells) {
    const auto height = static_cast<std::int64_t>(cells.size());
    for (int cell = 0; cell < cellCount; ++cell) {
        const CellMask bit = CellMask{1} << cell;
        std::int64_t run = 0;
        for (std::int64_t y = 0; y <= height; ++y) {
            if (y < height && cells[static_cast<std::size_t>(y)] & bit) {
                ++run;
                continue;
            }
            if (run * leastPiece < height)
                for (std::int64_t i = y - run; i < y; ++i)
                    cells[static_cast<std::size_t>(i)] &= ~bit;
            run = 0;
        }
    }
}

/// Marks the flat cells between still edges above each other.
void fill(std::vector<CellMask>& cells, const std::vector<CellMask>& equal, std::int64_t reach) {
    const auto height = static_cast<std::int64_t>(cells.size());
    for (int cell = 0; cell < cellCount; ++cell) {
        const CellMask bit = CellMask{1} << cell;
        std::int64_t edge = -1; // the last edge above, as long as all is equal from there on
        for (std::int64_t y = 0; y < height; ++y) {
            const auto at = static_cast<std::size_t>(y);
            if (!(equal[at] & bit)) {
                edge = -1;
            } else if (cells[at] & bit) {
                if (edge >= 0 && y - edge <= reach)
                    for (std::int64_t between = edge + 1; between < y; ++between)
                        cells[static_cast<std::size_t>(between)] |= bit;
                edge = y;
            }
        }
    }
}

} // namespace

Furniture furnitureOf(const Frame& a, const Frame& b, std::uint8_t tolerance) {
    const std::int64_t height = std::min(a.height, b.height);
    std::vector<CellMask> equal(static_cast<std::size_t>(height)), informed(equal.size());
    Furniture furniture{.cells = std::vector<CellMask>(equal.size())};
    for (std::size_t y = 0; y < equal.size(); ++y) {
        equal[y] = equalCells(a.signature[y], b.signature[y], tolerance);
        informed[y] = a.informed[y] | b.informed[y];
        furniture.cells[y] = equal[y] & informed[y];
    }
    furniture.topRows = stillRows(height, equal, informed, [](std::int64_t i) { return i; });
    furniture.bottomRows = stillRows(height, equal, informed, [&](std::int64_t i) { return height - 1 - i; });
    dropSlight(furniture.cells);
    fill(furniture.cells, equal, height / barsPerScreen);
    furniture.topBar = barRows(furniture, height, [](std::int64_t i) { return i; });
    furniture.bottomBar = barRows(furniture, height, [&](std::int64_t i) { return height - 1 - i; });
    for (std::int64_t i = 0; i < furniture.topRows; ++i)
        furniture.cells[static_cast<std::size_t>(i)] = ~CellMask{0};
    for (std::int64_t i = 0; i < furniture.bottomRows; ++i)
        furniture.cells[static_cast<std::size_t>(height - 1 - i)] = ~CellMask{0};
    return furniture;
}

std::vector<CellMask> stillCells(const Frame& a, const Frame& b, std::uint8_t tolerance) {
    std::vector<CellMask> cells(static_cast<std::size_t>(std::min(a.height, b.height)));
    for (std::size_t y = 0; y < cells.size(); ++y)
        cells[y] = equalCells(a.signature[y], b.signature[y], tolerance);
    dropSlight(cells);
    return cells;
}

} // namespace orbelquist
