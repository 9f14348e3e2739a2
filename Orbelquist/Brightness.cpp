#include "Orbelquist/Brightness.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <vector>

namespace orbelquist {

namespace {

/// The rows at each end of the screen that nearly all bars take: one of so many parts.
constexpr std::int64_t barShare = 20;
/// Cells that follow from the other's lie within so many levels of what they should be.
constexpr double sameLevel = 2;
/// Levels closer to each other tell a factor only.
constexpr double leastSpread = 16;
/// What a screen changes by unnoticed, of all levels, and less than which is none.
constexpr double most = 0.15, least = 0.01;
/// Faint frames use so many levels: fewer may be blank, and their noise.
constexpr int leastFaint = 64, mostFaint = 128;

struct Levels {
    double a = 0, b = 0;
};

/// The straight line through the middle of the darker half and the middle of the brighter one, which strays hardly
/// move.
Dimming lineThrough(std::vector<Levels>& cells) {
    std::ranges::sort(cells, {}, &Levels::a);
    const auto half = cells.begin() + std::ssize(cells) / 2;
    const auto middleOf = [](auto begin, auto end) {
        const auto middle = begin + (end - begin) / 2;
        std::nth_element(begin, middle, end, [](const Levels& x, const Levels& y) { return x.b < y.b; });
        const double b = middle->b;
        std::nth_element(begin, middle, end, [](const Levels& x, const Levels& y) { return x.a < y.a; });
        return Levels{middle->a, b};
    };
    const Levels dark = middleOf(cells.begin(), half), bright = middleOf(half, cells.end());
    if (bright.a - dark.a < leastSpread)
        return {.factor = bright.b / std::max(1.0, bright.a)};
    const double factor = (bright.b - dark.b) / (bright.a - dark.a);
    return {.factor = factor, .offset = bright.b - factor * bright.a};
}

/// The line on which nearly all cells of the bars at the screen's top, or at its bottom, lie.
std::optional<Dimming> dimmingOfBars(const Frame& a, const Frame& b, bool top) {
    const std::int64_t bar = std::min(a.height, b.height) / barShare;
    std::vector<Levels> cells;
    for (std::int64_t i = 0; i < bar; ++i)
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            const auto levelOf = [&](const Frame& frame) {
                return static_cast<double>(
                    frame.signature[static_cast<std::size_t>(top ? i : frame.height - 1 - i)][cell]);
            };
            cells.push_back({levelOf(a), levelOf(b)});
        }
    if (cells.empty())
        return std::nullopt;
    const auto areNearlyAll = [&](std::int64_t count) { return count * 4 >= std::ssize(cells) * 3; }; // but for a clock
    if (areNearlyAll(std::ranges::count_if(cells, [](const Levels& cell) { return cell.a == cell.b; })))
        return Dimming{};
    const Dimming line = lineThrough(cells);
    const auto follows = [&](const Levels& cell) {
        return std::abs(line.factor * cell.a + line.offset - cell.b) <= sameLevel;
    };
    return areNearlyAll(std::ranges::count_if(cells, follows)) ? std::optional(line) : std::nullopt;
}

/// All but a few cells are darker. What is darker than this says little of a factor.
std::optional<double> brightLevel(const Frame& frame) {
    constexpr std::int64_t brightest = 50; // one of so many
    constexpr double leastLevel = 40;
    std::vector<std::uint8_t> levels;
    for (const RowSignature& row : frame.signature)
        levels.insert(levels.end(), row.begin(), row.end());
    if (levels.empty())
        return std::nullopt;
    const auto place = levels.end() - 1 - std::ssize(levels) / brightest;
    std::nth_element(levels.begin(), place, levels.end());
    return *place < leastLevel ? std::nullopt : std::optional<double>(*place);
}

struct Extent {
    int low = 255, high = 0;
    int levels() const { return high - low; }
    void add(std::span<const std::uint8_t> levels) {
        const auto [lowest, highest] = std::ranges::minmax(levels);
        low = std::min<int>(low, lowest), high = std::max<int>(high, highest);
    }
};

} // namespace

std::optional<Dimming> spreadingOf(const Frame& a, const Frame& b) {
    Extent cells, pixels;
    for (const Frame* frame : {&a, &b})
        for (const RowSignature& row : frame->signature) {
            cells.add(row);
            if (cells.levels() >= mostFaint) // as nearly all screens are, within a few rows
                return std::nullopt;
        }
    for (const Frame* frame : {&a, &b})
        pixels.add({frame->luma.get(), static_cast<std::size_t>(frame->width * frame->height)});
    if (pixels.levels() < leastFaint || pixels.levels() >= mostFaint)
        return std::nullopt;
    const double factor = 255.0 / pixels.levels();
    return Dimming{.factor = factor, .offset = -factor * pixels.low};
}

std::optional<Dimming> dimmingBetween(const Frame& a, const Frame& b) {
    std::optional<Dimming> dimming = dimmingOfBars(a, b, true);
    if (!dimming)
        dimming = dimmingOfBars(a, b, false);
    if (!dimming)
        if (const auto levelOfA = brightLevel(a), levelOfB = brightLevel(b); levelOfA && levelOfB)
            dimming = {.factor = *levelOfB / *levelOfA};
    if (!dimming)
        return std::nullopt;
    const double atBlack = std::abs(dimming->offset) / 255,
                 atWhite = std::abs(dimming->factor + dimming->offset / 255 - 1);
    const double change = std::max(atBlack, atWhite);
    return change >= least && change <= most ? dimming : std::nullopt;
}

Dimming inverse(const Dimming& dimming) {
    return {.factor = 1 / dimming.factor, .offset = -dimming.offset / dimming.factor};
}

Frame dimmed(const Frame& frame, const Dimming& dimming) {
    std::array<std::uint8_t, 256> levels;
    for (std::size_t level = 0; level < levels.size(); ++level) {
        const double other = dimming.factor * static_cast<double>(level) + dimming.offset;
        levels[level] = static_cast<std::uint8_t>(std::lround(std::clamp(other, 0.0, 255.0)));
    }
    FrameBuilder builder(frame.width, frame.height);
    for (std::int64_t y = 0; y < frame.height; ++y)
        builder.addLuma([&](std::span<std::uint8_t> luma) {
            std::ranges::transform(frame.row(y), frame.row(y) + frame.width, luma.begin(),
                                   [&](auto level) { return levels[level]; });
        });
    return builder.finish();
}

} // namespace orbelquist
