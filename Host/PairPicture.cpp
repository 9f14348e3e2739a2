#include "Host/PairPicture.hpp"

#include "Orbelquist/FrameReader.hpp"
#include "Orbelquist/PairMatcher.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace host {

using orbelquist::Block;
using orbelquist::Frame;

namespace {

constexpr std::int64_t gap = 24, chartWidth = 240;

using Colour = std::array<std::uint8_t, 3>;
constexpr Colour white{255, 255, 255}, grey{225, 225, 225}, agreeing{0, 160, 60}, unclear{230, 180, 0},
    contradicting{220, 0, 0}, covered{200, 0, 160}, still{40, 80, 255}, seam{255, 0, 0}, score{60, 60, 60},
    chosen{0, 160, 60};

class Canvas {
public:
    Canvas(std::int64_t width, std::int64_t height) : bitmap_(width, height) {
        std::ranges::fill(bitmap_.bytes(), std::uint8_t{255});
    }

    /// A rectangle, what lies outside the canvas left out; `opacity` of 256.
    void fill(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height, Colour colour, int opacity) {
        for (std::int64_t row = std::max<std::int64_t>(0, y); row < std::min(y + height, bitmap_.height()); ++row)
            for (std::int64_t column = x; column < std::min(x + width, bitmap_.width()); ++column) {
                std::uint8_t* pixel = bitmap_.row(row) + 4 * column;
                for (std::size_t c = 0; c < colour.size(); ++c)
                    pixel[c] = static_cast<std::uint8_t>((pixel[c] * (256 - opacity) + colour[c] * opacity) / 256);
            }
    }

    void draw(const Frame& frame, std::int64_t x, std::int64_t y) {
        for (std::int64_t row = 0; row < frame.height; ++row)
            for (std::int64_t column = 0; column < frame.width; ++column)
                std::fill_n(bitmap_.row(y + row) + 4 * (x + column), 3, frame.row(row)[column]);
    }

    platform::CGImage image() && { return platform::CGImage(std::move(bitmap_), true); }

private:
    platform::Bitmap bitmap_;
};

std::optional<Colour> colourOf(Block block) {
    switch (block) {
    case Block::blank:
        return std::nullopt;
    case Block::lines:
    case Block::alike:
        return agreeing;
    case Block::unclear:
        return unclear;
    case Block::bar:
        return still;
    case Block::shapes:
        return contradicting;
    case Block::covered:
        break;
    }
    return covered;
}

} // namespace

std::optional<platform::CGImage> pairPicture(orbelquist::KSVLazyImage& first, orbelquist::KSVLazyImage& second,
                                             const orbelquist::KSVPatternPair& pair) {
    const auto a = orbelquist::readFrame(first), b = orbelquist::readFrame(second);
    if (!a || !b)
        return std::nullopt;
    const std::int64_t offset = pair.verdict.offset;
    const std::int64_t topA = std::max<std::int64_t>(0, -offset), topB = std::max<std::int64_t>(0, offset);
    const std::int64_t height = std::max(topA + a->height, topB + b->height);
    const std::int64_t leftB = a->width + gap, chart = leftB + b->width + gap;
    Canvas canvas(chart + chartWidth, height);
    canvas.fill(0, 0, chart + chartWidth, height, grey, 256);
    canvas.draw(*a, 0, topA);
    canvas.draw(*b, leftB, topB);
    if (a->width != b->width)
        return std::move(canvas).image();

    const orbelquist::PairView view = orbelquist::viewOf(*a, *b, offset);
    for (const orbelquist::PairView::Patch& patch : view.patches)
        if (const auto colour = colourOf(patch.block))
            for (const auto& [x, y] :
                 {std::pair{patch.left, topA + patch.top + offset}, std::pair{leftB + patch.left, topB + patch.top}})
                canvas.fill(x, y, patch.right - patch.left, patch.bottom - patch.top, *colour, 80);
    const auto drawStill = [&](std::int64_t left, std::int64_t top, std::int64_t frameHeight) {
        for (std::int64_t row = 0; row < std::min(frameHeight, std::ssize(view.still)); ++row)
            for (int cell = 0; cell < orbelquist::cellCount; ++cell)
                if (view.still[static_cast<std::size_t>(row)] >> cell & 1)
                    canvas.fill(left + cell * a->width / orbelquist::cellCount, top + row,
                                (cell + 1) * a->width / orbelquist::cellCount - cell * a->width / orbelquist::cellCount,
                                1, still, 80);
    };
    drawStill(0, topA, a->height);
    drawStill(leftB, topB, b->height);

    const orbelquist::KSVPattern& pattern = pair.positive.valid() ? pair.positive : pair.negative;
    if (pattern.valid())
        canvas.fill(0, topB + pattern.cropPoint() + pattern.overlap() / 2 - 2, chart - gap, 4, seam, 256);

    canvas.fill(chart, 0, chartWidth, height, white, 256);
    double best = 1;
    for (const orbelquist::PairView::Score& each : view.scores)
        best = std::max(best, static_cast<double>(each.score));
    for (const orbelquist::PairView::Score& each : view.scores) {
        const auto length = std::lround(static_cast<double>(each.score) / best * (chartWidth - 1));
        const bool isChosen = std::abs(each.shift - offset) <= 1 && offset != 0;
        canvas.fill(chart, topA + each.shift, std::max<std::int64_t>(isChosen ? 4 : 0, length), 1,
                    isChosen ? chosen : score, 256);
    }
    return std::move(canvas).image();
}

} // namespace host
