#pragma once

#include "Orbelquist/Frame.hpp"

#include <cstdint>
#include <span>

namespace orbelquist {

/// Sets `below` to `above` with the next row's pixels added, the first of the row excepted.
void addRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below);

} // namespace orbelquist
