#include "Orbelquist/Brightness.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace orbelquist {

namespace {

/// The rows at each end of the screen that nearly all bars take: one of so many parts.
constexpr std::int64_t barShare = 20;
/// Darker cells say little of a factor.
constexpr int leastLevel = 40;
/// Cells that follow from the other's by one factor lie within so many levels of it.
constexpr double sameLevel = 2;
/// What a screen is dimmed by unnoticed, and less than which is none.
constexpr double most = 1.15, least = 1.01;
/// The brightest cells: all but so many percent are darker.
constexpr std::int64_t brightest = 2;

struct Pair {
    int a = 0, b = 0;
};

/// The factor by which nearly all of the bars' cells differ.
std::optional<double> gainOfBars(const Frame& a, const Frame& b) {
    const std::int64_t height = std::min(a.height, b.height), bar = height / barShare;
    std::vector<Pair> cells;
    const auto add = [&](std::int64_t rowOfA, std::int64_t rowOfB) {
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            const int x = a.signature[static_cast<std::size_t>(rowOfA)][cell];
            const int y = b.signature[static_cast<std::size_t>(rowOfB)][cell];
            if (std::min(x, y) >= leastLevel)
                cells.push_back({x, y});
        }
    };
    for (std::int64_t i = 0; i < bar; ++i) {
        add(i, i);
        add(a.height - 1 - i, b.height - 1 - i);
    }
    if (std::ssize(cells) < 2 * bar) // not even a cell a row
        return std::nullopt;
    std::vector<double> factors;
    for (const Pair& cell : cells)
        factors.push_back(static_cast<double>(cell.b) / cell.a);
    const auto middle = factors.begin() + std::ssize(factors) / 2;
    std::nth_element(factors.begin(), middle, factors.end());
    const double gain = *middle;
    const auto follows = [&](const Pair& cell) { return std::abs(cell.a * gain - cell.b) <= sameLevel; };
    if (std::ranges::count_if(cells, follows) * 4 < std::ssize(cells) * 3)
        return std::nullopt;
    return gain;
}

int brightestLevel(const Frame& frame) {
    std::array<std::int64_t, 256> cells = {};
    for (const RowSignature& row : frame.signature)
        for (const std::uint8_t level : row)
            ++cells[level];
    int level = 255;
    for (std::int64_t above = 0; level > 0; --level)
        if ((above += cells[static_cast<std::size_t>(level)]) * 100 >= frame.height * cellCount * brightest)
            break;
    return level;
}

} // namespace

std::optional<double> gainBetween(const Frame& a, const Frame& b) {
    std::optional<double> gain = gainOfBars(a, b);
    if (!gain) {
        const int levelOfA = brightestLevel(a), levelOfB = brightestLevel(b);
        if (std::min(levelOfA, levelOfB) < leastLevel)
            return std::nullopt;
        gain = static_cast<double>(levelOfB) / levelOfA;
    }
    const double factor = std::max(*gain, 1 / *gain);
    return factor >= least && factor <= most ? gain : std::nullopt;
}

Frame dimmed(const Frame& frame, double gain) {
    std::array<std::uint8_t, 256> levels;
    for (std::size_t level = 0; level < levels.size(); ++level)
        levels[level] = static_cast<std::uint8_t>(std::lround(static_cast<double>(level) * gain));
    FrameBuilder builder(frame.width, frame.height);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(frame.width));
    for (std::int64_t y = 0; y < frame.height; ++y) {
        std::ranges::transform(frame.row(y), frame.row(y) + frame.width, row.begin(),
                               [&](std::uint8_t v) { return levels[v]; });
        builder.addLuma(row.data());
    }
    return builder.finish();
}

} // namespace orbelquist
