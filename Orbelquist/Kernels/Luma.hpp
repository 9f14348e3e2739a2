#pragma once

#include <cstdint>
#include <span>

namespace orbelquist {

/// The luma of a row of RGBA8 pixels, (R + 2 G + B) / 4 rounded down: near enough to what the eye sees, and exact in
/// bytes. `luma.size()` pixels are read.
void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma);

/// The row between two others with every pixel averaged with its neighbours, 1 2 1 across and down; beyond the ends of
/// a row lies its last pixel once more. As many pixels are read of each as `result` has.
void soften(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
            std::span<std::uint8_t> result);

} // namespace orbelquist
