#pragma once

#include "Orbelquist/Frame.hpp"
#include "Orbelquist/Furniture.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orbelquist {

/// A picture that stands still behind a page that moves, as two frames show it: a wallpaper, or a photograph. One mask
/// a row of each frame.
struct Backdrop {
    std::int64_t blocks = 0;                      ///< that show it in both frames, at most
    bool isCovered = false;                       ///< most of it, by cards of one level
    std::vector<CellMask> ignoredInA, ignoredInB; ///< cells of it, and of bars: they say nothing of the page
    std::vector<CellMask> pageInA, pageInB;       ///< cells that show the page for certain
};

/// Nothing where no picture stands behind the page. `neighbours`, of the same width, are other frames of the run: what
/// is equal in two of them all is the picture, and where it is known and a frame shows something else, that is page for
/// certain. So is what is clearly lighter or darker than all of the picture nearby, and what lies on a ground of one
/// level, such as a bubble, that the picture has not. `furniture` is that of the two frames.
std::optional<Backdrop> backdropBehind(const Frame& a, const Frame& b, std::span<const Frame* const> neighbours,
                                       const Furniture& furniture, std::uint8_t tolerance);

/// Whether of so many pixels of each level, or cells, less than two fifths have any one level, give or take what coding
/// does to it: those of a photograph, not of paper.
bool isUneven(std::span<const std::int64_t> levels, std::uint8_t tolerance);

/// Whether a photograph may lie behind the page of both frames: their cells between the bars are uneven.
bool areUneven(const Frame& a, const Frame& b, std::uint8_t tolerance);

} // namespace orbelquist
