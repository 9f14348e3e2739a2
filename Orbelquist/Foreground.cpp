#include "Orbelquist/Foreground.hpp"

#include "Orbelquist/Backdrop.hpp"
#include "Orbelquist/BlockComparison.hpp"
#include "Orbelquist/Ground.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <utility>

namespace orbelquist {

namespace {

/// What the photograph is behind a stroke is told by what both frames show of it around: within one of so many parts of
/// the screen, or twice or four times as far, where a sixth of that is seen. Where it is not for more than a quarter of
/// the pixels, nothing is told.
constexpr std::int64_t reachShare = 200, furthest = 4, seenShare = 6, unseenShare = 4;

/// A stroke differs from the photograph, and from the ground around it, such as a card of glass, by more levels than
/// this: what is fainter is texture, or coding.
constexpr int strokeStep = 16;

/// A cell of a row is unknown where one of so many of its pixels are.
constexpr int unknownInCell = 4;

/// Of a frame's pixels, no more: their levels add up in 32 bits, and their sums take 8 bytes each.
constexpr std::int64_t mostPixels = 1 << 24;

bool isStroke(int ground, int level) {
    return std::abs(level - ground) > strokeStep;
}

/// Darker than the ground or lighter, and the lighter the lighter it is.
std::uint8_t strokeOn(int ground, int level) {
    return static_cast<std::uint8_t>((level > ground ? 192 : 0) + level / 4);
}

enum class Pixel { background, stroke, unknown };

/// What a pixel of one frame is, of which the other frame shows something else.
Pixel pixelBefore(int photograph, int ground, int level, int other) {
    if (!isStroke(photograph, level) || !isStroke(ground, level))
        return Pixel::background;
    const bool isBetween = (level > photograph) != (other > photograph); // the photograph; one of them may be it
    return isBetween && std::abs(level - photograph) < std::abs(other - photograph) ? Pixel::unknown : Pixel::stroke;
}

/// The pixels that both frames show alike: the photograph, as a rule.
class Photograph {
public:
    Photograph(const Frame& a, const Frame& b, std::uint8_t tolerance)
        : width_(a.width), height_(std::min(a.height, b.height)),
          reach_(std::max<std::int64_t>(3, height_ / reachShare)),
          sums_(static_cast<std::size_t>((width_ + 1) * (height_ + 1))) {
        for (std::int64_t y = 0; y < height_; ++y) {
            Seen row;
            for (std::int64_t x = 0; x < width_; ++x) {
                const int p = a.row(y)[x], q = b.row(y)[x];
                if (std::abs(p - q) <= tolerance) {
                    if (y >= height_ / tallestBar && y < height_ - height_ / tallestBar)
                        ++pixels_[static_cast<std::size_t>(p)];
                    row.level += static_cast<std::uint32_t>(p + q) / 2;
                    ++row.count;
                }
                const Seen& above = at(x + 1, y);
                sums_[index(x + 1, y + 1)] = {above.level + row.level, above.count + row.count};
            }
        }
    }

    std::int64_t height() const { return height_; }

    /// Whether they are those of a photograph, and not of paper.
    bool isUneven(std::uint8_t tolerance) const { return orbelquist::isUneven(pixels_, tolerance); }

    /// Their mean around a pixel; nothing where next to none are near.
    std::optional<int> around(std::int64_t x, std::int64_t y) const {
        for (std::int64_t reach = reach_; reach <= furthest * reach_; reach *= 2) {
            const std::int64_t left = std::max<std::int64_t>(0, x - reach), right = std::min(width_, x + reach + 1);
            const std::int64_t top = std::max<std::int64_t>(0, y - reach), bottom = std::min(height_, y + reach + 1);
            const Seen &a = at(left, top), &b = at(right, top), &c = at(left, bottom), &d = at(right, bottom);
            const std::uint32_t count = d.count - b.count - c.count + a.count;
            if (count * seenShare >= (right - left) * (bottom - top))
                return static_cast<int>((d.level - b.level - c.level + a.level) / count);
        }
        return std::nullopt;
    }

private:
    /// Of the pixels above and to the left, of which there are no more than 2^24.
    struct Seen {
        std::uint32_t level = 0, count = 0;
    };
    std::size_t index(std::int64_t x, std::int64_t y) const { return static_cast<std::size_t>(y * (width_ + 1) + x); }
    const Seen& at(std::int64_t x, std::int64_t y) const { return sums_[index(x, y)]; }

    const std::int64_t width_, height_, reach_;
    std::array<std::int64_t, 256> pixels_ = {}; ///< of each level, between the bars
    std::vector<Seen> sums_;
};

/// The strokes of one frame, row by row from the top.
class Strokes {
public:
    explicit Strokes(const Frame& frame)
        : builder_(frame.width, frame.height), row_(static_cast<std::size_t>(frame.width)) {
        beginRow();
    }

    void setStroke(std::int64_t x, std::uint8_t level) { row_[static_cast<std::size_t>(x)] = level; }
    void setUnknown(std::int64_t x) {
        ++unknownPixels_[static_cast<std::size_t>(((x + 1) * cellCount - 1) / std::ssize(row_))];
    }

    void endRow() {
        CellMask cells = 0;
        for (std::size_t cell = 0; cell < cellCount; ++cell)
            cells |= CellMask{unknownPixels_[cell] * unknownInCell * cellCount > std::ssize(row_)} << cell;
        add(cells);
        beginRow();
    }

    /// All that is left down to a height is unknown: the other screen ends there.
    Frame finish(std::int64_t height, std::vector<CellMask>& unknown) {
        while (std::ssize(unknown_) < height)
            add(~CellMask{0});
        unknown = std::move(unknown_);
        return builder_.finish();
    }

private:
    void beginRow() {
        std::ranges::fill(row_, strokeGround);
        unknownPixels_ = {};
    }

    void add(CellMask unknown) {
        builder_.addLuma([&](std::span<std::uint8_t> luma) { std::ranges::copy(row_, luma.begin()); });
        unknown_.push_back(unknown);
    }

    FrameBuilder builder_;
    std::vector<std::uint8_t> row_;
    std::array<std::int64_t, cellCount> unknownPixels_ = {};
    std::vector<CellMask> unknown_;
};

Frame strokesOf(const Frame& frame) {
    FrameBuilder builder(frame.width, frame.height);
    const Ground ground(frame);
    for (std::int64_t y = 0; y < frame.height; ++y)
        builder.addLuma([&, levels = frame.row(y), behind = ground.row(y)](std::span<std::uint8_t> luma) {
            for (std::size_t x = 0; x < luma.size(); ++x)
                luma[x] = isStroke(behind[x], levels[x]) ? strokeOn(behind[x], levels[x]) : strokeGround;
        });
    return builder.finish();
}

} // namespace

std::optional<Foreground> foregroundOf(const Frame& a, const Frame& b, std::uint8_t tolerance) {
    if (a.width * std::min(a.height, b.height) > mostPixels || !areUneven(a, b, tolerance))
        return std::nullopt;
    const Photograph photograph(a, b, tolerance);
    if (!photograph.isUneven(tolerance))
        return std::nullopt;
    Strokes inA(a), inB(b);
    const Ground groundInA(a), groundInB(b);
    std::int64_t unseen = 0;
    for (std::int64_t y = 0; y < photograph.height(); ++y) {
        for (std::int64_t x = 0; x < a.width; ++x) {
            const int p = a.row(y)[x], q = b.row(y)[x];
            const std::optional<int> behind = photograph.around(x, y);
            const auto tell = [&](Strokes& strokes, const Ground& grounds, int level, int other) {
                const int ground = grounds.row(y)[x];
                const Pixel pixel = pixelBefore(*behind, ground, level, other);
                if (pixel == Pixel::stroke)
                    strokes.setStroke(x, strokeOn(ground, level));
                else if (pixel == Pixel::unknown)
                    strokes.setUnknown(x);
            };
            unseen += !behind;
            if (!behind) {
                inA.setUnknown(x), inB.setUnknown(x);
            } else if (std::abs(p - q) > tolerance) {
                tell(inA, groundInA, p, q), tell(inB, groundInB, q, p);
            } else if (isStroke(*behind, p)) { // strokes of both, perhaps
                inA.setUnknown(x), inB.setUnknown(x);
            }
        }
        inA.endRow(), inB.endRow();
        if (unseen * unseenShare > a.width * photograph.height())
            return std::nullopt;
    }
    Foreground foreground;
    foreground.a = inA.finish(a.height, foreground.unknownInA);
    foreground.b = inB.finish(b.height, foreground.unknownInB);
    return foreground;
}

std::optional<Foreground> strokesOf(const Frame& a, const Frame& b) {
    if (a.width * std::max(a.height, b.height) > mostPixels)
        return std::nullopt;
    const auto noneUnknown = [](const Frame& frame) {
        return std::vector<CellMask>(static_cast<std::size_t>(frame.height));
    };
    return Foreground{.a = strokesOf(a), .b = strokesOf(b), .unknownInA = noneUnknown(a), .unknownInB = noneUnknown(b)};
}

} // namespace orbelquist
