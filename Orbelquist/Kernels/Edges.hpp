#pragma once

#include <cstdint>
#include <span>

namespace orbelquist {

/// Luma steps of more levels than this, from one neighbour of a pixel to the other, are edges: more than blurred glass,
/// a gradient or the noise of a photograph, less than faint text.
inline constexpr std::uint8_t edgeLevels = 16;

/// Sets each element of `edges` to 1 where its pixel's left and right neighbours in `row`, or the pixels above and
/// below, differ by more than `edgeLevels`, else to 0. All rows are as long as `edges`; the outermost columns look up
/// and down only.
void markEdges(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
               std::span<std::uint8_t> edges);

} // namespace orbelquist
