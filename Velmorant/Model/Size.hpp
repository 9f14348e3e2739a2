#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Velmorant/Model/Hash.hpp"

#include <concepts>
#include <cstdint>

namespace velmorant {

/// An image of `width` by `height` units with `scale` device pixels a unit, so of width * scale by height * scale
/// pixels.
template <class Number>
struct Size {
    Number width{};
    Number height{};
    Number scale{};

    friend bool operator==(const Size&, const Size&) = default;

    friend Size operator*(const Size& size, Number factor) {
        return {size.width * factor, size.height * factor, size.scale};
    }

    // The rest is for integers. Conversions from floating point truncate toward zero; results are expected to be finite
    // and within 64 bits, which the sizes of images and positive scales and divisors always give.

    static Size cg(const platform::CGSize& size, Number scale)
        requires std::integral<Number>
    {
        return {static_cast<Number>(size.width), static_cast<Number>(size.height), scale};
    }

    /// Width and height in floating point; the scale is dropped.
    platform::CGSize cg() const
        requires std::integral<Number>
    {
        return {static_cast<double>(width), static_cast<double>(height)};
    }

    /// The same pixel size at another scale.
    Size rescaled(Number targetScale) const
        requires std::integral<Number>
    {
        const double factor = static_cast<double>(scale) / static_cast<double>(targetScale);
        return {static_cast<Number>(static_cast<double>(width) * factor),
                static_cast<Number>(static_cast<double>(height) * factor), targetScale};
    }

    /// The pixel size, at scale 1.
    Size normalized() const
        requires std::integral<Number>
    {
        return {static_cast<Number>(static_cast<double>(width) * static_cast<double>(scale)),
                static_cast<Number>(static_cast<double>(height) * static_cast<double>(scale)), 1};
    }

    friend Size operator/(const Size& size, double divisor)
        requires std::integral<Number>
    {
        return {static_cast<Number>(static_cast<double>(size.width) / divisor),
                static_cast<Number>(static_cast<double>(size.height) / divisor), size.scale};
    }
};

using PixelSize = Size<std::int64_t>;

} // namespace velmorant

template <class Number>
struct std::hash<velmorant::Size<Number>> {
    std::size_t operator()(const velmorant::Size<Number>& size) const noexcept {
        return velmorant::hashOf(size.width, size.height, size.scale);
    }
};
