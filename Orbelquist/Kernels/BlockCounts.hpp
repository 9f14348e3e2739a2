#pragma once

#include <cstddef>
#include <cstdint>

namespace orbelquist {

// Both look at `rows` rows of `columns` pixels, each row `stride` bytes after the one before.

/// The pixels that are no brighter than `level`.
std::size_t countAtMost(const std::uint8_t* pixels, std::size_t stride, std::size_t columns, std::size_t rows,
                        std::uint8_t level);

/// The pixels in which two frames differ by more than `tolerance` levels.
std::size_t countBeyond(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                        std::size_t rows, std::uint8_t tolerance);

} // namespace orbelquist
