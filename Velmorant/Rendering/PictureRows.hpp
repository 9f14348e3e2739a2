#pragma once

#include "Platform/CoreImage/RowStack.hpp"
#include "Velmorant/Alignment/Alignment.hpp"

#include <vector>

namespace velmorant {

/// Where each item lies in the finished picture and how it fades in, in the order of the alignment's positions: each
/// over those before it. Rows are the canvas's.
std::vector<platform::RowPlacement> pictureStack(const Alignment& alignment);

/// Consecutive rows of the finished picture, and what they show.
struct PictureRows {
    struct Source {
        StitchableItem item;
        RowRange rows; ///< of the item, from its top edge
    };

    RowRange rows;               ///< of the picture, from its top edge
    std::vector<Source> sources; ///< one: shown as it is; several: blended, from the bottom up; none: transparent
};

/// The rows of the finished picture within `shown`, rows of the canvas, from the top down. The picture's rows count
/// from `shown.lower` then.
std::vector<PictureRows> pictureRows(const Alignment& alignment, const RowRange& shown);

} // namespace velmorant
