#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/CoreImage/CIFilter.hpp"

#include <cstdint>
#include <memory>
#include <variant>

namespace platform::ci {

/// One step of a recipe. Recipes of many screenshots are deep chains, so nothing here recurses along them, the
/// destructor included.
struct Node {
    using Pointer = std::shared_ptr<const Node>;

    struct Source {
        CGImage image;
    };
    struct Moved {
        Pointer image;
        std::int64_t x, y; ///< to the right and upwards
    };
    struct Gradient {
        std::int64_t y0, y1; ///< y1 <= y0
        CIColor color0, color1;
    };
    struct Blend {
        Pointer input, background, mask;
    };
    using Kind = std::variant<std::monostate, Source, Moved, Gradient, Blend>;

    Node(Kind step, CGRect bounds) : kind(std::move(step)), extent(bounds) {}
    ~Node();

    Kind kind;
    const CGRect extent;
};

/// How far a pixel counts as the input's, in 65,536ths. Blends compute with these.
inline constexpr std::uint32_t wholeWeight = 65'536;

/// The weight of row r in a gradient from row lo to row hi, rows counted downwards: (2 (r - lo) + 1) / (2 (hi - lo)),
/// its value at the row's middle, clamped and rounded to nearest; a step at lo where lo = hi.
constexpr std::uint32_t gradientWeight(std::int64_t row, std::int64_t lo, std::int64_t hi) {
    if (row < lo)
        return 0;
    if (row >= hi)
        return wholeWeight;
    const std::int64_t length = 2 * (hi - lo);
    return static_cast<std::uint32_t>(((2 * (row - lo) + 1) * wholeWeight + length / 2) / length);
}

/// One channel, rounded to nearest. Equal values stay as they are, whatever the weight.
constexpr std::uint8_t blended(std::uint32_t background, std::uint32_t input, std::uint32_t weight) {
    return static_cast<std::uint8_t>((background * (wholeWeight - weight) + input * weight + wholeWeight / 2) /
                                     wholeWeight);
}

} // namespace platform::ci
