#include "Orbelquist/Verification.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace orbelquist {

namespace {

constexpr int blockCells = 2;
constexpr int blocksAcross = cellCount / blockCells;
/// A band is half a line of text high.
constexpr std::int64_t bandsPerScreen = 100;
constexpr std::int64_t leastBandRows = 6;

/// A block carries information when its luma varies, or differs, by more square levels than this: what is fainter
/// people hardly see. The frames' noise comes on top: so many times the variance of their quietest blocks, which are
/// blank.
constexpr double leastVariance = 36;
constexpr std::ptrdiff_t quietest = 5; // percent of the blocks
constexpr double noiseRoom = 2.5, mostNoise = 60;

/// Like blocks differ by less than this part of their variance, and by not much more than half of them do. Other
/// content differs by about all of it, text coded at quality 60 by a hundredth, text moved by half a row by a tenth.
constexpr double mostDifference = 0.25, leastDifference = 0.02, overMiddle = 4;
/// Between so much and this many times as much nothing is said.
constexpr double unclear = 2;

/// A band in which more blocks contradict than this belongs to a picture: text is seldom that dense.
constexpr int denseBlocks = blocksAcross / 2;
/// A region that changes all through (a pinned video) is at least so many bands high: lines of text have gaps.
constexpr std::size_t leastChanging = 12;
/// A bar may take this part of the screen, and one overlay this.
constexpr std::int64_t tallestBar = 6, tallestOverlay = 12;

/// What stands still may change its colours, even to their opposites: its shapes correlate by this, squared.
constexpr double stillCorrelation = 0.8;
/// A block without shapes has fewer edge pixels than one of so many.
constexpr double shapeless = 100;

/// The tolerance of equal pixels over what three quarters of the edge pixels stay within.
constexpr int losslessTolerance = 6, toleranceOverNoise = 6, noisiest = 7; // levels

struct Sums {
    double a = 0, b = 0, aa = 0, bb = 0, ab = 0, count = 0;

    /// Adds the pixels of one row.
    void add(const std::uint8_t* p, const std::uint8_t* q, std::int64_t pixels) {
        std::uint32_t rowA = 0, rowB = 0, rowAA = 0, rowBB = 0, rowAB = 0;
        for (std::int64_t x = 0; x < pixels; ++x) {
            const std::uint32_t u = p[x], v = q[x];
            rowA += u, rowB += v, rowAA += u * u, rowBB += v * v, rowAB += u * v;
        }
        a += rowA, b += rowB, aa += rowAA, bb += rowBB, ab += rowAB, count += static_cast<double>(pixels);
    }

    // Per pixel, in square levels.
    double varianceA() const { return (aa - a * a / count) / count; }
    double varianceB() const { return (bb - b * b / count) / count; }
    double covariance() const { return (ab - a * b / count) / count; }
    double squaredDifference() const { return (aa + bb - 2 * ab) / count; }
};

class Comparison {
public:
    Comparison(const FramePair& pair, std::int64_t shift)
        : pair_(pair), a_(pair.a()), b_(pair.b()), shift_(shift), firstRow_(pair.firstRow(shift)),
          lastRow_(pair.lastRow(shift)), height_(std::min(a_.height, b_.height)),
          bandRows_(std::max(leastBandRows, height_ / bandsPerScreen)) {}

    std::optional<Examination> result() {
        e_.shift = shift_;
        for (std::int64_t row = firstRow_; row < lastRow_; row += bandRows_)
            bands_.push_back(compareBand(row, std::min(row + bandRows_, lastRow_)));
        judgeBlocks();
        findStretch();
        if (e_.agreeing == 0)
            return std::nullopt;
        e_.first = rowOf(first_), e_.last = std::min(lastRow_, rowOf(last_));
        e_.tolerance = static_cast<std::uint8_t>(losslessTolerance + toleranceOverNoise * std::min(noise(), noisiest));
        countInside();
        countEdge(true);
        countEdge(false);
        return e_;
    }

private:
    /// Of a block, per pixel, in square levels.
    struct Measure {
        bool isCounted = false;
        float difference = 0;
        float varianceA = 0, varianceB = 0;
    };

    struct Band {
        std::array<Measure, blocksAcross> measures;
        std::array<bool, blocksAcross> contradicts = {};
        int agreeing = 0, contradicting = 0;

        bool dense() const { return contradicting > denseBlocks; }
        int weight() const { return dense() ? 0 : agreeing - 2 * contradicting; }
    };

    std::int64_t rowOf(std::size_t band) const { return firstRow_ + static_cast<std::int64_t>(band) * bandRows_; }

    CellMask ignoredAt(std::int64_t row) const { return pair_.furnitureAt(row) | pair_.furnitureAt(row + shift_); }

    Band compareBand(std::int64_t from, std::int64_t to) const {
        std::array<Sums, blocksAcross> sums = {};
        for (std::int64_t row = from; row < to; ++row) {
            const CellMask skip = ignoredAt(row);
            const std::uint8_t *p = a_.row(row + shift_), *q = b_.row(row);
            for (int cell = 0; cell < cellCount; ++cell) {
                if (skip >> cell & 1)
                    continue;
                const std::int64_t begin = cell * a_.width / cellCount, end = (cell + 1) * a_.width / cellCount;
                sums[static_cast<std::size_t>(cell / blockCells)].add(p + begin, q + begin, end - begin);
            }
        }
        Band band;
        const double whole = static_cast<double>((to - from) * a_.width) / blocksAcross;
        for (std::size_t k = 0; k < blocksAcross; ++k)
            if (sums[k].count * 3 >= whole && sums[k].count > 0) // not mostly furniture
                band.measures[k] = {.isCounted = true,
                                    .difference = static_cast<float>(sums[k].squaredDifference()),
                                    .varianceA = static_cast<float>(sums[k].varianceA()),
                                    .varianceB = static_cast<float>(sums[k].varianceB())};
        return band;
    }

    /// The quietest blocks show the frames' noise, and half of those that are alike by how much like blocks differ:
    /// these two set what counts and what is alike.
    void judgeBlocks() {
        const auto variance = [](const Measure& m) { return std::max(m.varianceA, m.varianceB); };
        std::vector<float> variances, differences;
        for (const Band& band : bands_)
            for (const Measure& m : band.measures)
                if (m.isCounted)
                    variances.push_back(variance(m));
        const double noise = std::min(mostNoise, noiseRoom * percentile(variances, quietest));
        const auto isInformed = [&](const Measure& m) {
            return m.isCounted && std::max(variance(m), m.difference) >= leastVariance + noise;
        };
        const auto differenceOf = [&](const Measure& m) { // leastVariance: coding noise in faint blocks proves nothing
            return std::max(0.0, m.difference - noise) / (m.varianceA + m.varianceB + leastVariance / 2);
        };
        for (const Band& band : bands_)
            for (const Measure& m : band.measures)
                if (isInformed(m) && differenceOf(m) < mostDifference)
                    differences.push_back(static_cast<float>(differenceOf(m)));
        e_.difference = percentile(differences, 50);
        const double alike = std::min(mostDifference, leastDifference + overMiddle * e_.difference);
        for (Band& band : bands_)
            for (std::size_t k = 0; k < blocksAcross; ++k) {
                if (!isInformed(band.measures[k]))
                    continue;
                const double difference = differenceOf(band.measures[k]);
                band.agreeing += difference < alike;
                band.contradicts[k] = difference >= unclear * alike;
                band.contradicting += band.contradicts[k];
            }
    }

    static double percentile(std::vector<float>& values, std::ptrdiff_t percent) {
        if (values.empty())
            return 0;
        const auto place = values.begin() + std::ssize(values) * percent / 100;
        std::nth_element(values.begin(), place, values.end());
        return *place;
    }

    void findStretch() {
        std::int64_t best = 0, sum = 0;
        std::size_t start = 0;
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            sum += bands_[i].weight();
            if (sum <= 0) {
                sum = 0;
                start = i + 1;
            } else if (sum > best) {
                best = sum;
                first_ = start;
                last_ = i + 1;
            }
        }
        while (first_ < last_ && bands_[first_].agreeing == 0)
            ++first_;
        for (std::size_t i = first_; i < last_; ++i) {
            e_.agreeing += bands_[i].agreeing;
            e_.agreeingBands += bands_[i].agreeing > 0;
        }
    }

    /// Leaves out of account what one overlay hides: the window of its height with most contradicting blocks.
    void countInside() {
        const auto contradicting = [&](std::size_t i) { return bands_[i].dense() ? 0 : bands_[i].contradicting; };
        for (std::size_t i = first_; i < last_; ++i) {
            e_.movingBands += bands_[i].dense();
            e_.contradicting += contradicting(i);
            std::int64_t window = 0;
            for (std::size_t k = i; k < std::min(last_, i + bandsPerScreen / tallestOverlay); ++k)
                window += contradicting(k);
            e_.hidden = std::max(e_.hidden, window);
        }
        e_.contradicting -= e_.hidden;
    }

    /// The bands from the stretch to the overlap's edge, where a bar may lie: the top bar of the frame whose upper
    /// screen edge lies in the overlap, or the other's bottom bar.
    void countEdge(bool above) {
        const Frame& frame = (above ? firstRow_ == 0 : lastRow_ == b_.height) ? b_ : a_;
        const std::int64_t toScreen = &frame == &b_ ? 0 : shift_;
        const std::size_t from = above ? 0 : last_, to = above ? first_ : bands_.size();
        const std::int64_t zone = frame.height / tallestBar;
        const auto [changesFrom, changesTo] = changingRegion(from, to);
        for (std::size_t i = from; i < to; ++i) {
            const Band& band = bands_[i];
            if (i >= changesFrom && i < changesTo) {
                ++e_.changingBands;
                continue;
            }
            const std::int64_t row = rowOf(i) + toScreen; // on the screen
            const bool inZone = above ? row < zone : row + bandRows_ > frame.height - zone;
            const bool frayed = i == (above ? to - 1 : from); // beside the stretch: half bar, half page
            const int stray = frayed ? 0 : unexplained(band, row, frame);
            if (!inZone) {
                e_.beyond += band.contradicting;
            } else if (stray > 1 && stray * 4 > band.contradicting) { // a bar has no such gaps: this is page
                e_.strays += band.contradicting;
            } else {
                e_.strays += stray;
                e_.glass += band.contradicting - stray;
            }
        }
    }

    /// The longest run of bands that are dense all through, where it is as high as such a region is.
    std::pair<std::size_t, std::size_t> changingRegion(std::size_t from, std::size_t to) const {
        std::pair<std::size_t, std::size_t> longest{from, from};
        for (std::size_t i = from, start = from; i < to; ++i) {
            if (!bands_[i].dense())
                start = i + 1;
            else if (i + 1 - start > longest.second - longest.first)
                longest = {start, i + 1};
        }
        return longest.second - longest.first >= leastChanging ? longest : std::pair(from, from);
    }

    /// Contradicting blocks that belong to no bar: a bar, be it of coloured or blurred glass, shows the same shapes at
    /// the same place of the other screen, or none.
    int unexplained(const Band& band, std::int64_t row, const Frame& frame) const {
        const Frame& other = &frame == &b_ ? a_ : b_;
        const std::int64_t end = std::min({row + bandRows_, frame.height, other.height});
        int count = 0;
        for (std::size_t k = 0; k < blocksAcross; ++k) {
            if (!band.contradicts[k])
                continue;
            const auto begin = static_cast<std::int64_t>(k) * frame.width / blocksAcross;
            const auto pixels = static_cast<std::int64_t>(k + 1) * frame.width / blocksAcross - begin;
            Sums sums;
            double edges = 0;
            for (std::int64_t y = row; y < end; ++y) {
                sums.add(frame.row(y) + begin, other.row(y) + begin, pixels);
                edges +=
                    static_cast<double>(std::count(frame.edgeRow(y) + begin, frame.edgeRow(y) + begin + pixels, 1));
            }
            if (sums.count == 0)
                continue;
            const double common = sums.covariance() * sums.covariance();
            const bool isBar = sums.varianceA() < leastVariance || edges * shapeless < sums.count ||
                               common > stillCorrelation * sums.varianceA() * sums.varianceB();
            count += !isBar;
        }
        return count;
    }

    /// What three quarters of the edge pixels of the stretch stay within.
    int noise() const {
        std::array<std::int64_t, 256> differences = {};
        std::int64_t total = 0;
        const auto width = static_cast<std::size_t>(a_.width);
        for (std::int64_t row = e_.first; row < e_.last; row += 4) {
            const CellMask counted = ~ignoredAt(row);
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

    const FramePair& pair_;
    const Frame& a_;
    const Frame& b_;
    const std::int64_t shift_;
    const std::int64_t firstRow_, lastRow_; ///< the overlap
    const std::int64_t height_, bandRows_;
    std::vector<Band> bands_;
    std::size_t first_ = 0, last_ = 0; ///< of the stretch
    Examination e_{.shift = 0};
};

} // namespace

std::optional<Examination> examine(const FramePair& pair, std::int64_t shift) {
    return Comparison(pair, shift).result();
}

bool holds(const Examination& e, const FramePair& pair) {
    // Enough is seen: a few letters, over a quarter of a line of text.
    if (e.agreeing < 8 || (e.last - e.first) * bandsPerScreen * 2 < std::min(pair.a().height, pair.b().height))
        return false;
    // In the stretch next to nothing contradicts, and an overlay only where there is much besides it.
    const std::int64_t against = e.contradicting + e.hidden;
    const bool isClear = against * 50 <= e.agreeing;
    if (e.contradicting * 25 > e.agreeing || (!isClear && (e.hidden * 8 > e.agreeing || e.agreeingBands < 16)))
        return false;
    // Pictures that move need more that stands for the shift, and a page around them.
    if (e.movingBands + e.changingBands > 0 && e.agreeing < 60)
        return false;
    if (e.movingBands > 2 * e.agreeingBands || e.changingBands > bandsPerScreen * 9 / 20)
        return false;
    // Outside are bars.
    const std::int64_t perStray = isClear && e.agreeing >= 60 ? 5 : 10;
    return e.beyond * 50 <= e.agreeing + 50 && e.strays * perStray <= e.agreeing && e.glass <= 3 * e.agreeing;
}

} // namespace orbelquist
