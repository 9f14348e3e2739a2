#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace platform {

/// Where an image lies in a stack of images as wide as the picture. Rows are the picture's and grow downwards. The
/// image fades in over those before it from row `fadeStart` to row `fadeEnd`, and hides them from there on.
struct RowPlacement {
    std::int64_t top = 0;                    ///< row of the image's first row
    std::int64_t bottom = 0;                 ///< the row after its last one
    std::int64_t fadeStart = 0, fadeEnd = 0; ///< fadeStart <= fadeEnd
};

/// Consecutive rows of the picture that the same images make up: `base` shows whole, then each of `fading` is blended
/// over what is there. The numbers are places in the stack.
struct RowStretch {
    static constexpr std::ptrdiff_t none = -1; ///< as `base`: nothing is there

    std::int64_t end = 0; ///< the row after the last one; the next stretch may be made up alike
    std::ptrdiff_t base = none;
    std::vector<std::ptrdiff_t> fading; ///< from the bottom of the stack up
};

/// A stack of images, told stretch by stretch from the top of the picture down.
class RowStack {
public:
    /// Each image over those before it.
    explicit RowStack(std::vector<RowPlacement> placements);

    /// The stretch that begins at `row`, which never decreases. Below all images `end` is the greatest number there is.
    RowStretch at(std::int64_t row);

    /// The row after the last one that shows the image: later ones hide what they cover whole.
    std::int64_t lastRow(std::ptrdiff_t image) const { return ends_[static_cast<std::size_t>(image)]; }

    std::span<const RowPlacement> placements() const { return placements_; }

private:
    const RowPlacement& placement(std::ptrdiff_t image) const { return placements_[static_cast<std::size_t>(image)]; }
    void advanceTo(std::int64_t row);
    std::int64_t nextChange(std::int64_t row) const;

    std::vector<RowPlacement> placements_;
    std::vector<std::int64_t> ends_;
    std::vector<std::ptrdiff_t> byTop_;  ///< images not yet reached, the next one last
    std::vector<std::ptrdiff_t> active_; ///< images that the current row meets and that may still show, ascending
};

} // namespace platform
