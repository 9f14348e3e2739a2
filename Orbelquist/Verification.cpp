#include "Orbelquist/Verification.hpp"

#include "Orbelquist/Kernels/ComparePixels.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <vector>

namespace orbelquist {

namespace {

/// Equal pixels of lossless frames are equal: dithering and colour management move them by a few levels. Lossy coding
/// moves them more: by a multiple of what three quarters of the edge pixels stay within.
constexpr int losslessTolerance = 6;
constexpr int toleranceOverNoise = 6;
/// More noise than this no coding makes that people look at.
constexpr int mostNoise = 7;

/// A cell contradicts when more than this share of its pixels does, in percent: a stroke of a letter.
constexpr int conflictPercent = 15;
/// A row in which more cells contradict than this belongs to a moving region (a video, a late picture): text is never
/// that dense.
constexpr int denseCells = cellCount / 2;

/// One overlay (a toast, a button's two places) may hide as much of the screen as this.
constexpr std::int64_t overlaysPerScreen = 12;

/// Rows that nothing explains: at most one of so many of the screen's, and of those that agree. The frayed ends of
/// furniture make a few.
constexpr std::int64_t unexplainedPerScreen = 160;
constexpr std::int64_t unexplainedPerAgreeing = 8;
/// Rows that differ in any way, with all excuses: at most one for so many that agree.
constexpr std::int64_t excusedPerAgreeing = 2;

/// A bar throws its shadow, or fades out, over one of so many of the screen's rows.
constexpr std::int64_t shadowsPerScreen = 100;

/// Rows with edges that agree: at least one of so many of the screen's, half a line of text.
constexpr std::int64_t agreeingPerScreen = 100;
/// Of the pixels that speak, so many percent agree, overlays and all.
constexpr std::int64_t agreeingPercent = 85;

/// A look at every fourth row is enough to dismiss most shifts.
constexpr std::int64_t glanceStep = 4;

class Comparison {
public:
    Comparison(const FramePair& pair, const Stretch& stretch)
        : pair_(pair), a_(pair.a()), b_(pair.b()), shift_(stretch.shift), firstRow_(pair.firstRow(shift_)),
          lastRow_(pair.lastRow(shift_)), noise_(noiseIn(stretch)),
          tolerance_(static_cast<std::uint8_t>(losslessTolerance + toleranceOverNoise * std::min(noise_, mostNoise))),
          rows_(static_cast<std::size_t>(lastRow_ - firstRow_)) {}

    std::optional<Examination> result() {
        if (noise_ > mostNoise || !compareRows(glanceStep) || !compareRows(1))
            return std::nullopt;
        return examination_;
    }

private:
    struct Row {
        std::int32_t agreeing = 0, contradicting = 0; ///< pixels
        int conflicts = 0;                            ///< cells
    };

    Row& at(std::int64_t row) { return rows_[static_cast<std::size_t>(row - firstRow_)]; }

    CellMask ignored(std::int64_t row) const { return pair_.furnitureAt(row) | pair_.furnitureAt(row + shift_); }

    /// What three quarters of the edge pixels of the stretch stay within is the frames' noise.
    int noiseIn(const Stretch& stretch) const {
        std::array<std::int64_t, 256> differences = {};
        std::int64_t total = 0;
        const auto width = static_cast<std::size_t>(a_.width);
        for (std::int64_t row = stretch.first; row < stretch.last; row += glanceStep) {
            const CellMask counted = ~ignored(row);
            const std::uint8_t *p = a_.row(row + shift_), *q = b_.row(row);
            const std::uint8_t *edgesP = a_.edgeRow(row + shift_), *edgesQ = b_.edgeRow(row);
            for (std::size_t cell = 0; cell < cellCount; ++cell) {
                if (!(counted >> cell & 1))
                    continue;
                for (std::size_t x = cell * width / cellCount; x < (cell + 1) * width / cellCount; ++x)
                    if (edgesP[x] | edgesQ[x]) {
                        ++differences[static_cast<std::size_t>(std::abs(p[x] - q[x]))];
                        ++total;
                    }
            }
        }
        int noise = 0;
        for (std::int64_t within = differences[0]; within * 4 < total * 3;)
            within += differences[static_cast<std::size_t>(++noise)];
        return noise;
    }

    /// Looks at every `step`-th row of the overlap; false where the shift is out of the question.
    bool compareRows(std::int64_t step) {
        for (std::int64_t row = firstRow_; row < lastRow_; row += step)
            at(row) = compareRow(row);
        examination_ = {.shift = shift_, .tolerance = tolerance_};
        findStretch(step);
        const std::int64_t height = std::min(a_.height, b_.height);
        const std::int64_t most = 1 + height / unexplainedPerScreen * (step > 1 ? 2 : 1); // a glance may err
        return examination_.agreeing > 0 && countConflicts(step, most, height) && countStrays(step, most);
    }

    Row compareRow(std::int64_t row) const {
        std::array<CellCounts, cellCount> counts;
        const auto width = static_cast<std::size_t>(a_.width);
        comparePixels({{a_.row(row + shift_), width}, a_.edgeRow(row + shift_)},
                      {{b_.row(row), width}, b_.edgeRow(row)}, tolerance_, counts);
        Row result;
        const CellMask counted = ~ignored(row);
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            if (!(counted >> cell & 1))
                continue;
            result.agreeing += counts[cell].agreeing;
            result.contradicting += counts[cell].contradicting;
            result.conflicts += counts[cell].contradicting >= 2 &&
                                counts[cell].contradicting * cellCount * 100 >= conflictPercent * a_.width;
        }
        return result;
    }

    /// Like `bestStretch`, on pixels.
    void findStretch(std::int64_t step) {
        Examination current{.shift = shift_, .tolerance = tolerance_, .first = firstRow_};
        for (std::int64_t row = firstRow_; row < lastRow_; row += step) {
            current.agreeing += step * at(row).agreeing;
            current.contradicting += step * at(row).contradicting;
            if (at(row).agreeing * 2 * cellCount >= a_.width) // half a cell of edges
                current.agreeingRows += step;
            current.last = std::min(lastRow_, row + step);
            if (current.score() <= 0)
                current = {.shift = shift_, .tolerance = tolerance_, .first = current.last};
            else if (current.score() > examination_.score())
                examination_ = current;
        }
    }

    /// Leaves out of account what one overlay hides: the window of its height with most rows that differ.
    bool countConflicts(std::int64_t step, std::int64_t most, std::int64_t height) {
        std::vector<std::int64_t> differing;
        for (std::int64_t row = firstRow_; row < lastRow_; row += step)
            if (row >= examination_.first && row < examination_.last && at(row).conflicts > 0)
                differing.push_back(row);
        const std::int64_t overlay = height / overlaysPerScreen;
        std::size_t bestFirst = 0, hidden = 0;
        for (std::size_t first = 0, end = 0; first < differing.size(); ++first) {
            while (end < differing.size() && differing[end] < differing[first] + overlay)
                ++end;
            if (end - first > hidden) {
                bestFirst = first;
                hidden = end - first;
            }
        }
        examination_.hiddenRows = step * static_cast<std::int64_t>(hidden);
        for (std::size_t i = 0; i < differing.size(); ++i) {
            if (i >= bestFirst && i < bestFirst + hidden)
                examination_.contradicting -= step * at(differing[i]).contradicting;
            else if (at(differing[i]).conflicts <= denseCells)
                examination_.conflictRows += step;
        }
        return examination_.conflictRows <= most;
    }

    bool countStrays(std::int64_t step, std::int64_t most) {
        const Frame& topBar = shift_ > 0 ? b_ : a_; // whose upper screen edge lies in the overlap
        const Frame& bottomBar = shift_ > 0 ? a_ : b_;
        for (std::int64_t row = firstRow_; row < lastRow_; row += step) {
            const bool above = row < examination_.first, below = row >= examination_.last;
            if ((!above && !below) || at(row).conflicts == 0)
                continue;
            const Frame& frame = above ? topBar : bottomBar;
            const std::int64_t screenRow = &frame == &b_ ? row : row + shift_;
            const std::int64_t shadow = frame.height / shadowsPerScreen;
            const bool behindGlass = screenRow < pair_.furniture().topBar + shadow ||
                                     screenRow >= frame.height - pair_.furniture().bottomBar - shadow;
            if (!isBarRow(frame, &frame == &b_ ? a_ : b_, screenRow))
                (behindGlass ? examination_.glassRows : examination_.strayRows) += step;
            if (examination_.strayRows > most)
                return false;
        }
        return true;
    }

    /// A bar, be it of coloured or blurred glass, shows its edges at the same place of the other screen, too.
    bool isBarRow(const Frame& frame, const Frame& other, std::int64_t row) const {
        const std::int64_t width = frame.width;
        if (row < 1 || row + 1 >= frame.height || row + 1 >= other.height)
            return true;
        const std::uint8_t *p = frame.row(row), *q = other.row(row), *edges = frame.edgeRow(row);
        std::int64_t moved = 0;
        for (std::int64_t x = 1; x + 1 < width; ++x) {
            if (!edges[x])
                continue;
            const int acrossP = p[x + 1] - p[x - 1], acrossQ = q[x + 1] - q[x - 1];
            const int downP = p[x + width] - p[x - width], downQ = q[x + width] - q[x - width];
            const int change = std::max(std::abs(acrossP - acrossQ), std::abs(downP - downQ));
            moved += 2 * change > std::max(std::abs(acrossP), std::abs(downP)) + tolerance_;
        }
        return moved * 4 * cellCount <= width; // a quarter of a cell
    }

    const FramePair& pair_;
    const Frame& a_;
    const Frame& b_;
    const std::int64_t shift_;
    const std::int64_t firstRow_, lastRow_; ///< the overlap
    const int noise_;                       ///< levels
    const std::uint8_t tolerance_;
    std::vector<Row> rows_;
    Examination examination_;
};

} // namespace

std::optional<Examination> examine(const FramePair& pair, const Stretch& stretch) {
    return Comparison(pair, stretch).result();
}

bool holds(const Examination& e, const FramePair& pair) {
    const std::int64_t height = std::min(pair.a().height, pair.b().height);
    const std::int64_t unexplained = e.strayRows + e.conflictRows;
    return e.agreeingRows * agreeingPerScreen >= height && e.agreeing >= pair.a().width &&
           e.agreeing * 100 >= (e.agreeing + e.contradicting) * agreeingPercent &&
           unexplained * unexplainedPerScreen <= height && unexplained * unexplainedPerAgreeing <= e.agreeingRows &&
           (unexplained + e.hiddenRows + e.glassRows) * excusedPerAgreeing <= e.agreeingRows;
}

} // namespace orbelquist
