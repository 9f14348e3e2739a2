#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <vector>

namespace orbelquist {

/// What each pixel's surroundings are without the strokes in them: the mean of the pixels near it that are near their
/// own mean. The same all over a small tile.
class Ground {
public:
    explicit Ground(const Frame& frame);

    /// The level behind each pixel of a row.
    const std::uint8_t* row(std::int64_t y) const;

private:
    std::int64_t width_, tileSide_;
    std::vector<std::uint8_t> levels_; ///< of each column, a row of tiles after the other
};

} // namespace orbelquist
