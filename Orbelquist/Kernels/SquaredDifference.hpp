#pragma once

#include <cstddef>
#include <cstdint>

namespace orbelquist {

/// The squares of so many pixels add up in 31 bits.
inline constexpr std::size_t mostPixelsAtOnce = 32'768;

/// The squared differences of the pixels of two frames, added up: `rows` rows of `columns` pixels, each row `stride`
/// bytes after the one before in both. At most `mostPixelsAtOnce` pixels.
std::uint64_t squaredDifference(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                                std::size_t rows);

} // namespace orbelquist
