#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

/// Multiplies the colours of `count` RGBA8 pixels by their alpha, in place, rounding to nearest.
void premultiply(std::uint8_t* pixels, std::size_t count);

/// Divides them again; `straight` may be `premultiplied`. Where alpha is 0 the colours become 0.
void unpremultiply(const std::uint8_t* premultiplied, std::uint8_t* straight, std::size_t count);

} // namespace platform
