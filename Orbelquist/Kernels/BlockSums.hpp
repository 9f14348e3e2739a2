#pragma once

#include <cstddef>
#include <cstdint>

namespace orbelquist {

/// What the pixels of two frames add up to, in levels and square levels.
struct PixelSums {
    std::uint64_t a = 0, b = 0, aa = 0, bb = 0;
    std::uint64_t difference = 0; ///< of the one from the other, squared
    std::uint64_t count = 0;

    bool operator==(const PixelSums&) const = default;
};

/// Adds `rows` rows of `columns` pixels, each row `stride` bytes after the one before in both frames. At most 32,768
/// pixels at a time.
void addPixels(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns, std::size_t rows,
               PixelSums& sums);

} // namespace orbelquist
