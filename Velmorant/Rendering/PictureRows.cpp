#include "Velmorant/Rendering/PictureRows.hpp"

#include <algorithm>

namespace velmorant {

std::vector<platform::RowPlacement> pictureStack(const Alignment& alignment) {
    std::vector<platform::RowPlacement> stack;
    const Position* above = nullptr;
    for (const auto& [item, position] : alignment.positions()) {
        // The band counts from this item's top edge: `globalOverlap` from that of the item above.
        const std::int64_t fade = above ? position.offset - above->offset : 0;
        stack.push_back({.top = position.offset,
                         .bottom = position.offset + item.size().height,
                         .fadeStart = fade + position.globalOverlap.lower,
                         .fadeEnd = fade + position.globalOverlap.upper});
        above = &position;
    }
    return stack;
}

std::vector<PictureRows> pictureRows(const Alignment& alignment, const RowRange& shown) {
    platform::RowStack stack(pictureStack(alignment));
    std::vector<PictureRows> picture;
    for (std::int64_t row = shown.lower; row < shown.upper;) {
        const platform::RowStretch stretch = stack.at(row);
        const RowRange rows{row, std::min(stretch.end, shown.upper)};
        PictureRows part{.rows = rows.shifted(-shown.lower), .sources = {}};
        const auto add = [&](std::ptrdiff_t image) {
            const auto& [item, position] = alignment.positions()[static_cast<std::size_t>(image)];
            part.sources.push_back({item, rows.shifted(-position.offset)});
        };
        if (stretch.base != platform::RowStretch::none)
            add(stretch.base);
        std::ranges::for_each(stretch.fading, add);

        const auto continues = [](const PictureRows::Source& a, const PictureRows::Source& b) {
            return a.item == b.item && a.rows.upper == b.rows.lower;
        };
        if (!picture.empty() && std::ranges::equal(picture.back().sources, part.sources, continues)) {
            picture.back().rows.upper = part.rows.upper;
            for (std::size_t i = 0; i < part.sources.size(); ++i)
                picture.back().sources[i].rows.upper = part.sources[i].rows.upper;
        } else {
            picture.push_back(std::move(part));
        }
        row = rows.upper;
    }
    return picture;
}

} // namespace velmorant
