#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <span>

namespace orbelquist {

/// The mean of each cell of a row of luma, rounded to nearest: cell c covers the columns from c * width / 64 up to
/// (c + 1) * width / 64, at least one. Sets `below` to `above` with the row's blocks added, block k of the columns from
/// k * width / 32 up to (k + 1) * width / 32.
RowSignature summarizeRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below);

} // namespace orbelquist
