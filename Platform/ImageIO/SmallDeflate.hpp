#pragma once

#include "Platform/ImageIO/PNGBand.hpp"

#include <cstdint>
#include <span>

namespace platform::png {

/// Deflates `bytes` with more effort than `deflateAtOnce`: `level` is libdeflate's, 1 to 12. A stream that does not end
/// is flushed to a whole byte, and what follows does not refer to it. The same bytes give the same result. False where
/// memory is short.
bool deflateSmall(std::span<const std::uint8_t> bytes, int level, bool isLast, Deflated& result);

} // namespace platform::png
