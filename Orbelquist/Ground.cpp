#include "Orbelquist/Ground.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace orbelquist {

namespace {

/// Near is half a line of text above and below, and as far to the sides: one of so many parts of the screen.
constexpr std::int64_t reachShare = 100;

/// A tile's sides are one of so many parts of that, less than strokes lie apart; a column of it adds up in 16 bits.
constexpr std::int64_t tileShare = 8, highestTile = 256;

std::int64_t tileSideOf(const Frame& frame) {
    return std::clamp<std::int64_t>(frame.height / reachShare / tileShare, 1, highestTile);
}

/// What differs by more levels from the mean of its surroundings is a stroke, or what lies behind a letter's strokes.
constexpr int farFromMean = 24;

struct Sum {
    std::uint32_t levels = 0, count = 0;
    void add(const Sum& other) { levels += other.levels, count += other.count; }
    void remove(const Sum& other) { levels -= other.levels, count -= other.count; }
    std::uint8_t mean() const { return static_cast<std::uint8_t>(levels / count); }
};

/// Of each tile of a frame, the last of a row or column perhaps cut off.
struct Tiles {
    explicit Tiles(const Frame& frame)
        : side(tileSideOf(frame)), across((frame.width + side - 1) / side), down((frame.height + side - 1) / side),
          sums(static_cast<std::size_t>(across * down)) {}

    Sum& at(std::int64_t x, std::int64_t y) { return sums[static_cast<std::size_t>(y * across + x)]; }
    const Sum& at(std::int64_t x, std::int64_t y) const { return sums[static_cast<std::size_t>(y * across + x)]; }

    const std::int64_t side, across, down;
    std::vector<Sum> sums;
};

/// What those pixels of each tile add up to that count, as counts(level, level around it) tells. `around` has one level
/// a column of each row of tiles.
template <class Counts>
Tiles sumsOf(const Frame& frame, const std::uint8_t* around, Counts counts) {
    Tiles tiles(frame);
    std::vector<std::uint16_t> levels(static_cast<std::size_t>(frame.width)), numbers(levels.size());
    for (std::int64_t ty = 0; ty < tiles.down; ++ty, around += frame.width) {
        std::ranges::fill(levels, std::uint16_t{0});
        std::ranges::fill(numbers, std::uint16_t{0});
        for (std::int64_t y = ty * tiles.side; y < std::min((ty + 1) * tiles.side, frame.height); ++y) {
            const std::uint8_t* row = frame.row(y);
            for (std::size_t x = 0; x < levels.size(); ++x) {
                const bool isCounted = counts(row[x], around[x]);
                levels[x] = static_cast<std::uint16_t>(levels[x] + (isCounted ? row[x] : 0));
                numbers[x] = static_cast<std::uint16_t>(numbers[x] + isCounted);
            }
        }
        for (std::int64_t tx = 0; tx < tiles.across; ++tx) {
            Sum sum;
            for (auto x = static_cast<std::size_t>(tx * tiles.side), end = std::min(x + tiles.side, levels.size());
                 x < end; ++x)
                sum.add({levels[x], numbers[x]});
            tiles.at(tx, ty) = sum;
        }
    }
    return tiles;
}

/// The mean of the tiles near each, for each of its columns; where nothing is near, that of `alone`. The sums of
/// columns move down with the rows, that of the columns near a tile along them.
void setMeans(const Tiles& tiles, const Tiles& alone, const Frame& frame, std::uint8_t* means) {
    const std::int64_t reach = std::max<std::int64_t>(1, frame.height / reachShare / tiles.side);
    std::vector<Sum> columns(static_cast<std::size_t>(tiles.across));
    const auto column = [&](std::int64_t x) -> Sum& { return columns[static_cast<std::size_t>(x)]; };
    const auto enter = [&](std::int64_t y) {
        for (std::int64_t x = 0; y < tiles.down && x < tiles.across; ++x)
            column(x).add(tiles.at(x, y));
    };
    const auto leave = [&](std::int64_t y) {
        for (std::int64_t x = 0; y >= 0 && x < tiles.across; ++x)
            column(x).remove(tiles.at(x, y));
    };
    std::vector<std::uint8_t> ofTiles(columns.size()); // of one row
    for (std::int64_t y = 0; y < reach; ++y)
        enter(y);
    for (std::int64_t y = 0; y < tiles.down; ++y, means += frame.width) {
        enter(y + reach), leave(y - reach - 1);
        Sum near;
        for (std::int64_t x = 0; x < std::min(reach, tiles.across); ++x)
            near.add(column(x));
        for (std::int64_t x = 0; x < tiles.across; ++x) {
            if (x + reach < tiles.across)
                near.add(column(x + reach));
            if (x > reach)
                near.remove(column(x - reach - 1));
            ofTiles[static_cast<std::size_t>(x)] = (near.count > 0 ? near : alone.at(x, y)).mean();
        }
        for (std::int64_t first = 0; first < tiles.side; ++first) // column of each tile
            for (std::int64_t x = first, k = 0; x < frame.width; x += tiles.side)
                means[x] = ofTiles[static_cast<std::size_t>(k++)];
    }
}

} // namespace

Ground::Ground(const Frame& frame) : width_(frame.width), tileSide_(tileSideOf(frame)) {
    levels_.resize(static_cast<std::size_t>((frame.height + tileSide_ - 1) / tileSide_ * width_));
    const Tiles all = sumsOf(frame, levels_.data(), [](int, int) { return true; });
    setMeans(all, all, frame, levels_.data());
    const auto isNear = [](int level, int mean) { return std::abs(level - mean) <= farFromMean; };
    setMeans(sumsOf(frame, levels_.data(), isNear), all, frame, levels_.data());
}

const std::uint8_t* Ground::row(std::int64_t y) const {
    return levels_.data() + y / tileSide_ * width_;
}

} // namespace orbelquist
