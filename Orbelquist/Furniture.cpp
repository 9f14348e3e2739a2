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

/// A row stands still over its whole width when all but this many cells do: a clock or a badge may change meanwhile. Of
/// the rows with edges, one of so many may be coded anew, in cells that differ by twice as much.
constexpr int changingCells = 4;
constexpr std::int64_t codedShare = 2;

/// The rows from the screen's edge inwards that stand still, up to the last one with an edge: blank rows behind the bar
/// may be the page's. `row(i)` is the i-th row from that edge, `nearly(y)` its cells that are equal but for coding.
template <class Nearly, class Row>
std::int64_t stillRows(std::int64_t height, const std::vector<CellMask>& equal, const std::vector<CellMask>& informed,
                       Nearly nearly, Row row) {
    const auto standsStill = [](CellMask cells) { return std::popcount(cells) >= cellCount - changingCells; };
    std::int64_t still = 0, edges = 0, coded = 0;
    for (std::int64_t i = 0; i < height; ++i) {
        const auto y = static_cast<std::size_t>(row(i));
        edges += informed[y] != 0;
        const bool isCoded = !standsStill(equal[y]);
        coded += isCoded;
        if ((isCoded && !standsStill(nearly(y))) || coded * codedShare > edges)
            break;
        if (informed[y] != 0)
            still = i + 1;
    }
    return still;
}

/// What stands still by itself (a title, an icon) is at least this high, a small letter: lesser likenesses are chance.
constexpr std::size_t leastPiece = 160;

/// The rows from the screen's edge inwards up to the last piece that stands still, one following the other.
template <class Row>
std::int64_t barRows(const Furniture& furniture, std::int64_t height, Row row) {
    std::int64_t bar = 0;
    std::array<std::int64_t, cellCount> run = {};
    for (std::int64_t i = 0; i * tallestBar < height && i <= bar + height / barsPerScreen; ++i) {
        const CellMask still = furniture.cells[static_cast<std::size_t>(row(i))];
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            run[cell] = still >> cell & 1 ? run[cell] + 1 : 0;
            if (run[cell] * static_cast<std::int64_t>(leastPiece) >= height)
                bar = i + 1;
        }
    }
    return bar;
}

/// Leaves only what is as high as a piece of furniture: text that scrolls has likenesses of a few rows everywhere.
void dropSlight(std::vector<CellMask>& cells) {
    const auto height = cells.size();
    const auto least = (height + leastPiece - 1) / leastPiece;
    // First what all rows from each down to the last of such a piece have, then all rows of these pieces.
    for (std::size_t rows = 1, step; rows < least; rows += step) {
        step = std::min(rows, least - rows);
        for (std::size_t y = 0; y < height; ++y)
            cells[y] &= y + step < height ? cells[y + step] : CellMask{0};
    }
    for (std::size_t rows = 1, step; rows < least; rows += step) {
        step = std::min(rows, least - rows);
        for (std::size_t y = height; y-- > step;)
            cells[y] |= cells[y - step];
    }
}

/// Marks the flat cells between still edges above each other.
void fill(std::vector<CellMask>& cells, const std::vector<CellMask>& equal, std::int64_t reach) {
    std::array<std::size_t, cellCount> edge; // of each open cell: the row of the last edge above
    CellMask open = 0;                       // where there is one, and all is equal from there on
    for (std::size_t y = 0; y < cells.size(); ++y) {
        const CellMask above = y > 0 ? cells[y - 1] : CellMask{0};
        for (CellMask ended = above & ~cells[y]; ended != 0; ended &= ended - 1)
            edge[static_cast<std::size_t>(std::countr_zero(ended))] = y - 1;
        for (CellMask begun = open & cells[y] & ~above; begun != 0; begun &= begun - 1) {
            const std::size_t from = edge[static_cast<std::size_t>(std::countr_zero(begun))];
            if (static_cast<std::int64_t>(y - from) <= reach)
                for (std::size_t between = from + 1; between < y; ++between)
                    cells[between] |= begun & -begun;
        }
        open = (open | cells[y]) & equal[y];
    }
}

/// A pane is higher than one of so many parts of the screen, and leaves a third of it to the page.
constexpr std::int64_t leastPane = 20, tallestPaneThirds = 2;
/// In the bar in which it ends so many percent of the cells with edges are equal, and it has as many as a few letters.
constexpr std::int64_t equalInPane = 80, leastInPane = 60;

/// A sheet's edge lies within one of so many parts of the screen of where it is looked for; what is as much higher than
/// that as a divider between sections differs from the page above over three quarters of the width, too.
constexpr std::int64_t nearSheet = 50, dividerShare = 40;

/// By so many levels a pane's edge differs from the page beside it.
constexpr std::uint8_t plainStep = 8;

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
    const auto nearly = [&](std::size_t y) {
        return equalCells(a.signature[y], b.signature[y], static_cast<std::uint8_t>(2 * tolerance));
    };
    furniture.topRows = stillRows(height, equal, informed, nearly, [](std::int64_t i) { return i; });
    furniture.bottomRows = stillRows(height, equal, informed, nearly, [&](std::int64_t i) { return height - 1 - i; });
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

bool standsStillMostly(const Frame& a, const Frame& b, const Furniture& furniture) {
    const std::size_t height = furniture.cells.size(), bars = height / tallestToolbars;
    int still = 0, informed = 0;
    for (std::size_t y = bars; y < height - bars; ++y) {
        const CellMask edges = a.informed[y] | b.informed[y];
        informed += std::popcount(edges);
        still += std::popcount(edges & furniture.cells[y]);
    }
    return still * 2 > informed;
}

ScreenEdges barsAmong(const Frame& frame, std::span<const Frame* const> others, std::uint8_t tolerance) {
    ScreenEdges bars;
    const std::int64_t tallest = frame.height / tallestToolbars;
    for (const Frame* other : others) {
        const Furniture furniture = furnitureOf(frame, *other, tolerance);
        if (other->height != frame.height || std::max(furniture.topRows, furniture.bottomRows) > tallest)
            continue; // the page did not move
        bars.top = std::max(bars.top, furniture.topRows), bars.bottom = std::max(bars.bottom, furniture.bottomRows);
    }
    return bars;
}

ScreenEdges panesBetween(const Frame& a, const Frame& b, const Furniture& furniture, std::uint8_t tolerance) {
    const std::int64_t height = a.height, barRows = height / barsPerScreen;
    if (b.height != height)
        return {};
    const auto endsAt = [&](std::int64_t row) { return stepsAcross(a, row) && stepsAcross(b, row); };
    const auto paneFrom = [&](std::int64_t bar, auto rowAt) { // rowAt(i): the i-th row from that edge of the screen
        std::int64_t pane = 0, equal = 0, informed = 0;       // cells of the last rows
        const auto count = [&](std::int64_t i, int sign) {
            const auto y = static_cast<std::size_t>(rowAt(i));
            const CellMask edges = a.informed[y] | b.informed[y];
            equal += sign * std::popcount(equalCells(a.signature[y], b.signature[y], tolerance) & edges);
            informed += sign * std::popcount(edges);
        };
        for (std::int64_t i = bar; i * 3 < height * tallestPaneThirds; ++i) {
            count(i, 1);
            if (i - bar >= barRows)
                count(i - barRows, -1);
            if ((i - bar) * leastPane > height && informed >= leastInPane && equal * 100 >= informed * equalInPane &&
                endsAt(rowAt(i)))
                pane = i;
        }
        return pane;
    };
    ScreenEdges panes{.top = paneFrom(std::max<std::int64_t>(1, furniture.topRows), [](std::int64_t i) { return i; }),
                      .bottom = paneFrom(std::max<std::int64_t>(1, furniture.bottomRows),
                                         [&](std::int64_t i) { return height - 1 - i; })};
    if ((panes.top + panes.bottom) * 3 > height * tallestPaneThirds) // one of them is the page, up to the other
        (panes.top > panes.bottom ? panes.top : panes.bottom) = 0;
    return panes;
}

std::int64_t sheetRows(const Frame& frame, std::int64_t row) {
    const std::int64_t reach = frame.height / nearSheet, inwards = frame.height / dividerShare;
    const auto goesOn = [&](std::int64_t edge) {
        const auto &above = frame.signature[static_cast<std::size_t>(edge - 2)],
                   &below = frame.signature[static_cast<std::size_t>(edge + inwards)];
        return countDiffering(above, below, plainStep, ~CellMask{0}) * 4 >= cellCount * 3;
    };
    for (std::int64_t edge = std::max(row - reach, frame.height / 2); edge <= row + reach; ++edge)
        if (edge >= 2 && edge + inwards < frame.height && stepsAcross(frame, edge) && goesOn(edge))
            return frame.height - edge + 1;
    return 0;
}

int cellsOfStep(const Frame& frame, std::int64_t row) {
    const auto y = static_cast<std::size_t>(row);
    return cellCount - std::popcount(equalCells(frame.signature[y - 1], frame.signature[y + 1], plainStep));
}

bool stepsAcross(const Frame& frame, std::int64_t row) {
    return row > 0 && row + 1 < frame.height && cellsOfStep(frame, row) * 8 >= cellCount * 7;
}

std::vector<CellMask> stillCells(const Frame& a, const Frame& b, std::uint8_t tolerance) {
    std::vector<CellMask> cells(static_cast<std::size_t>(std::min(a.height, b.height)));
    for (std::size_t y = 0; y < cells.size(); ++y)
        cells[y] = equalCells(a.signature[y], b.signature[y], tolerance);
    dropSlight(cells);
    return cells;
}

} // namespace orbelquist
