#pragma once

#include "Orbelquist/Frame.hpp"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace orbelquist {

/// A bar may take this part of the screen.
inline constexpr std::int64_t tallestBar = 6;
/// And several above each other this one.
inline constexpr std::int64_t tallestToolbars = 4;

/// Its shadow may reach one of so many of the screen's rows beyond it.
inline constexpr std::int64_t shadowShare = 100;

/// What stands still on the screen while the page scrolls: bars, buttons, side bars, a wallpaper. It says nothing of
/// how the page moved.
struct Furniture {
    std::vector<CellMask> cells; ///< one a row of the screen
    // Rows at the screen's top and bottom that stand still over their whole width, and the rows up to the last piece (a
    // title, an icon) that stands still there, what shines through between the pieces included.
    std::int64_t topRows = 0, bottomRows = 0;
    std::int64_t topBar = 0, bottomBar = 0;

    /// More stands still over the whole width at one edge of a screen of that height than bars take: it may be page.
    bool isHigherThanToolbars(std::int64_t height) const {
        return std::max(topRows, bottomRows) * tallestToolbars > height;
    }
};

/// Cell by cell: what is equal in both frames at the same place and holds an edge, and the flat between two such edges.
/// Levels within `tolerance` are equal.
Furniture furnitureOf(const Frame& a, const Frame& b, std::uint8_t tolerance);

/// Whether most of what has edges amid the screen, where no bars reach, stands still: a picture behind the page, or a
/// page whose lines recur and that moved by a multiple of their distance.
bool standsStillMostly(const Frame& a, const Frame& b, const Furniture& furniture);

/// Rows at a screen's top and bottom that show no page.
struct ScreenEdges {
    std::int64_t top = 0, bottom = 0;
};

/// The bars of a frame that stand still over their whole width between it and one of `others`, frames of the same run
/// and width.
ScreenEdges barsAmong(const Frame& frame, std::span<const Frame* const> others, std::uint8_t tolerance);

/// Panes beside the page in which something changes while they stand still, such as a film above its comments: they end
/// in a bar that stands still, and there both frames step from one level to another over nearly all of their width.
ScreenEdges panesBetween(const Frame& a, const Frame& b, const Furniture& furniture, std::uint8_t tolerance);

/// The height of what lies over the page at the bottom of one screen, such as a keyboard, with its upper edge near a
/// row: there the frame steps, over nearly all of its width, to another level that goes on below. 0 where nothing
/// does, or over more than half of the screen.
std::int64_t sheetRows(const Frame& frame, std::int64_t row);

/// The cells in which a frame steps from one level to another at a row that is neither its first nor its last.
int cellsOfStep(const Frame& frame, std::int64_t row);

/// Whether these are nearly all of a row's.
bool stepsAcross(const Frame& frame, std::int64_t row);

/// The cells of the screen that are equal in both frames, with edges or not, over the height of a small letter at
/// least: where something stands behind the page, what shows of it.
std::vector<CellMask> stillCells(const Frame& a, const Frame& b, std::uint8_t tolerance);

} // namespace orbelquist
