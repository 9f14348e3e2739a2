#pragma once

#include "Platform/CoreImage/CIImage.hpp"

#include <cstdint>
#include <expected>
#include <vector>

namespace platform {

/// Where a tall picture is cut into parts: the heights of the parts of `extent` of `recipe`, from the top, none above
/// `mostRows` (at least 1). Each cut lies where the rows around it differ least along themselves, between lines of text
/// rather than through one, within the last quarter of the longest part that may be. Draws those rows only.
[[nodiscard]] std::expected<std::vector<std::int64_t>, ImageError>
heightsOfParts(const CIImage& recipe, const CGRect& extent, std::int64_t mostRows);

/// Rows `top` to `top + height` of `extent`, counted from its upper edge.
CGRect rowsOf(const CGRect& extent, std::int64_t top, std::int64_t height);

} // namespace platform
