#pragma once

#include <cstddef>
#include <functional>

namespace velmorant {

/// `seed` with `hash` stirred in; the order of calls matters. The constant is 2^64 / golden ratio.
constexpr std::size_t combineHash(std::size_t seed, std::size_t hash) {
    return seed ^ (hash + 0x9e3779b97f4a7c15u + (seed << 6) + (seed >> 2));
}

/// The hash of several values, in order.
template <class... Values>
std::size_t hashOf(const Values&... values) {
    std::size_t seed = 0;
    ((seed = combineHash(seed, std::hash<Values>()(values))), ...);
    return seed;
}

} // namespace velmorant
