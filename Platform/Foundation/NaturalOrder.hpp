#pragma once

#include <string_view>

namespace platform {

/// "shot2" before "shot10": runs of ASCII digits are ordered by their value, everything else byte by byte; equal values
/// by fewer leading zeros. A strict weak order.
bool naturalLess(std::string_view a, std::string_view b);

} // namespace platform
