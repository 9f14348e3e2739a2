#include "Orbelquist/Overlap.hpp"

#include <algorithm>

namespace orbelquist {

namespace {

/// Beyond a bar that stands still more of it may change, over one of so many parts of the screen: the line below the
/// tab that is chosen.
constexpr std::int64_t beyondBar = 32;

} // namespace

ScreenBlock Overlap::onScreen(std::size_t band, std::size_t block, bool second) const {
    return {.frame = frame(second),
            .other = frame(!second),
            .top = comparison_.rowOf(band) + toScreen(second),
            .bottom = comparison_.endOf(band) + toScreen(second),
            .left = comparison_.columnOf(block),
            .right = comparison_.columnOf(block + 1),
            .toPage = second ? shift_ : -shift_,
            .noise = comparison_.noise() / 2};
}

bool Overlap::isInZone(std::size_t band, bool second, bool top) const {
    const std::int64_t height = frame(second).height, row = comparison_.rowOf(band) + toScreen(second);
    const std::int64_t still = top ? pair_.furniture().topRows : pair_.furniture().bottomRows;
    const std::int64_t zone =
        std::max(height / tallestBar, std::min(height / tallestToolbars, still + height / beyondBar));
    return top ? row < zone : row + comparison_.bandRows() > height - zone;
}

bool Overlap::isAmidPage(std::size_t band) const {
    for (const bool second : {false, true})
        if (isInZone(band, second, true) || isInZone(band, second, false))
            return false;
    return true;
}

} // namespace orbelquist
