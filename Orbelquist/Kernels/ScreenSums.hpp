#pragma once

#include <cstddef>
#include <cstdint>

namespace orbelquist {

/// What the pixels x of a block, those of another at the same place of the screen s, and those of the page there p add
/// up to, in levels and square levels.
struct ScreenSums {
    std::uint64_t x = 0, s = 0, p = 0, xx = 0, ss = 0, pp = 0, xs = 0, xp = 0, sp = 0;
    std::uint64_t nearest = 0; ///< of x from the nearer of s and p, squared

    bool operator==(const ScreenSums&) const = default;
};

/// Of `rows` rows of `columns` pixels, each row `stride` bytes after the one before in all three. At most 32,768
/// pixels.
ScreenSums screenSums(const std::uint8_t* x, const std::uint8_t* s, const std::uint8_t* p, std::size_t stride,
                      std::size_t columns, std::size_t rows);

} // namespace orbelquist
