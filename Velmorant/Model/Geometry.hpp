#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Velmorant/Model/Hash.hpp"

#include <concepts>

namespace velmorant {

template <class Factor>
    requires std::integral<Factor> || std::floating_point<Factor>
platform::CGSize operator*(const platform::CGSize& size, Factor factor) {
    return {size.width * static_cast<double>(factor), size.height * static_cast<double>(factor)};
}

template <class Divisor>
    requires std::integral<Divisor> || std::floating_point<Divisor>
platform::CGSize operator/(const platform::CGSize& size, Divisor divisor) {
    return {size.width / static_cast<double>(divisor), size.height / static_cast<double>(divisor)};
}

/// The rectangle of `size` around `center`.
constexpr platform::CGRect rectCentered(const platform::CGPoint& center, const platform::CGSize& size) {
    return {{center.x - size.width / 2, center.y - size.height / 2}, size};
}

inline platform::CGPoint midpoint(const platform::CGRect& rect) {
    return {rect.midX(), rect.midY()};
}

/// The larger of `value` and `low`, then the smaller of that and `high`: with bounds the wrong way round, `high`.
template <class Value>
constexpr Value clamped(const Value& value, const Value& low, const Value& high) {
    const Value& raised = value < low ? low : value;
    return high < raised ? high : raised;
}

} // namespace velmorant

/// Positive and negative zero are equal, and `std::hash<double>` hashes them alike.
template <>
struct std::hash<platform::CGSize> {
    std::size_t operator()(const platform::CGSize& size) const noexcept {
        return velmorant::hashOf(size.width, size.height);
    }
};
