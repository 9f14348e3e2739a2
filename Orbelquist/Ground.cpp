#include "Orbelquist/Ground.hpp"

#include <algorithm>
#include <cstdlib>

namespace orbelquist {

namespace {

/// Near is half a line of text above and below, and as far to the sides: one of so many parts of the screen.
constexpr std::int64_t reachShare = 100, leastReach = 3;

/// What differs by more levels from the mean of its surroundings is a stroke, or what lies behind a letter's strokes.
constexpr int farFromMean = 24;

/// The mean of the pixels near each that count; of a pixel near which none does, its own level. The sums of columns
/// move down with the rows, that of the columns near a pixel along them.
template <class Counts>
std::vector<std::uint8_t> meansAround(const Frame& frame, Counts counts) {
    struct Sum {
        std::uint32_t levels = 0, count = 0;
        void add(const Sum& other) { levels += other.levels, count += other.count; }
        void remove(const Sum& other) { levels -= other.levels, count -= other.count; }
    };
    const std::int64_t width = frame.width, height = frame.height;
    const std::int64_t reach = std::max(leastReach, height / reachShare);
    std::vector<Sum> columns(static_cast<std::size_t>(width));
    const auto pixel = [&](std::int64_t x, std::int64_t y) { return counts(x, y) ? Sum{frame.row(y)[x], 1} : Sum{}; };
    const auto column = [&](std::int64_t x) -> Sum& { return columns[static_cast<std::size_t>(x)]; };
    const auto enter = [&](std::int64_t y) {
        for (std::int64_t x = 0; y < height && x < width; ++x)
            column(x).add(pixel(x, y));
    };
    const auto leave = [&](std::int64_t y) {
        for (std::int64_t x = 0; y >= 0 && x < width; ++x)
            column(x).remove(pixel(x, y));
    };
    std::vector<std::uint8_t> means;
    means.reserve(static_cast<std::size_t>(width * height));
    for (std::int64_t y = 0; y < reach; ++y)
        enter(y);
    for (std::int64_t y = 0; y < height; ++y) {
        enter(y + reach), leave(y - reach - 1);
        Sum near;
        for (std::int64_t x = 0; x < std::min(reach, width); ++x)
            near.add(column(x));
        for (std::int64_t x = 0; x < width; ++x) {
            if (x + reach < width)
                near.add(column(x + reach));
            if (x > reach)
                near.remove(column(x - reach - 1));
            means.push_back(near.count > 0 ? static_cast<std::uint8_t>(near.levels / near.count) : frame.row(y)[x]);
        }
    }
    return means;
}

} // namespace

std::vector<std::uint8_t> groundOf(const Frame& frame) {
    const std::vector<std::uint8_t> means = meansAround(frame, [](std::int64_t, std::int64_t) { return true; });
    return meansAround(frame, [&](std::int64_t x, std::int64_t y) {
        return std::abs(frame.row(y)[x] - means[static_cast<std::size_t>(y * frame.width + x)]) <= farFromMean;
    });
}

} // namespace orbelquist
