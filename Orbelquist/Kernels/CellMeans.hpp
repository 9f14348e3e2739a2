#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <span>

namespace orbelquist {

/// The luma of a row of RGBA8 pixels, (R + 2 G + B) / 4 rounded down: near enough to what the eye sees, and exact in
/// bytes. `luma.size()` pixels are read.
void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma);

/// The mean of each cell, rounded to nearest: cell c covers the columns from c * width / 64 up to (c + 1) * width / 64,
/// at least one.
RowSignature cellMeans(std::span<const std::uint8_t> luma);

} // namespace orbelquist
