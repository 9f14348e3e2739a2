#include "Orbelquist/BlockComparison.hpp"

#include "Orbelquist/Kernels/BlockCounts.hpp"
#include "Orbelquist/Kernels/SquaredDifference.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace orbelquist {

namespace {

constexpr std::int64_t leastBandRows = 6;
/// A tall picture's bands are no higher than that.
constexpr auto mostPixels = static_cast<std::int64_t>(mostPixelsAtOnce);

/// A block carries information when its luma varies, or differs, by more square levels than this: what is fainter
/// people hardly see. The frames' noise comes on top.
constexpr double leastVariance = 36;

/// Noise is what the quietest blocks, which are blank, vary by, or differ by where they are neither black nor white
/// (there it is clipped): so many percent of all blocks, with room for the rest, but never more than this.
constexpr std::ptrdiff_t quietest = 5, leastDiffering = 20;
constexpr double varianceRoom = 2.5, differenceRoom = 1.25, mostNoise = 60;
constexpr float nearlyBlack = 12, nearlyWhite = 243;

/// Like blocks differ by less than this part of their variance, and by not much more than half of them do. Other
/// content differs by about all of it, text coded at quality 60 by a hundredth, text moved by half a row by a tenth.
constexpr double mostDifference = 0.25, leastDifference = 0.02, overMiddle = 4;
/// Blocks contradict that differ by twice as much, and by more than coding does to faint textures; in between nothing
/// is said.
constexpr double unclear = 2, leastContradiction = 0.12;

/// Before a picture a block contradicts when nearly all of it is the page: at the edge of a bubble the rest is picture.
/// Nor does one that differs by less than one of so many parts of the variance that half of the page's like blocks do
/// not exceed: a picture may shine through what lies before it.
constexpr std::int64_t pagePercent = 87;
constexpr float shiningThrough = 8;

/// A block that varies so many times less than the other one, about the ground, give or take so many levels, has lost
/// its strokes.
constexpr float lostShare = 8, nearGround = 32;

/// A line down through so many bands, higher than a letter, is the same at other rows, too.
constexpr std::size_t longLine = 4;

/// Another ground: half of the pixels of one lie so many levels from half of those of the other, or more than half
/// differ by more than that, with room for so many times the frames' noise.
constexpr int leastGround = 4;
constexpr double groundRoom = 2;
/// Where equal blocks are equal to the level, this is another ground already: a white bar on nearly white paper.
constexpr int losslessGround = 1;

float percentile(std::vector<float>& values, std::ptrdiff_t percent) {
    if (values.empty())
        return 0;
    const auto place = values.begin() + std::ssize(values) * percent / 100;
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace

bool BlockComparison::Measure::hasLostStrokes() const {
    const bool isOfA = varianceA < varianceB;
    return (isOfA ? varianceA : varianceB) * lostShare < variance() &&
           std::abs((isOfA ? mean : meanB) - strokeGround) <= nearGround;
}

BlockComparison::BlockComparison(const Layout& layout, std::size_t every)
    : layout_(layout),
      bandRows_(std::min(std::max(leastBandRows, std::min(layout.a.height, layout.b.height) / bandsPerScreen),
                         std::max<std::int64_t>(1, mostPixels / (layout.b.width / blocksAcross + 1)))),
      every_(every) {
    const std::int64_t rows = std::max<std::int64_t>(0, layout.last - layout.first);
    measures_.resize(static_cast<std::size_t>((rows + bandRows_ - 1) / bandRows_));
    for (std::size_t i = 0; i < measures_.size(); ++i)
        if (isFirst(i))
            measures_[i] = measure(i);
    judge();
}

void BlockComparison::compareRest() {
    for (std::size_t i = 0; i < measures_.size(); ++i)
        if (!isFirst(i))
            measures_[i] = measure(i);
    judge();
}

CellMask BlockComparison::ignoredAt(std::int64_t row) const {
    const auto at = [](std::span<const CellMask> masks, std::int64_t y) {
        return masks.empty() ? CellMask{0} : masks[static_cast<std::size_t>(y)];
    };
    return at(layout_.ignoredInA, row + layout_.shift) | at(layout_.ignoredInB, row);
}

std::vector<CellMask> BlockComparison::ignoredIn(std::size_t band) const {
    std::vector<CellMask> ignored;
    for (std::int64_t row = rowOf(band); row < endOf(band); ++row)
        ignored.push_back(ignoredAt(row));
    return ignored;
}

BlockComparison::Measures BlockComparison::measure(std::size_t band) const {
    const std::vector<CellMask> ignored = ignoredIn(band);
    const bool isEqual = areEqual(band);
    Measures measures;
    const std::size_t whole = ignored.size() * static_cast<std::size_t>(layout_.b.width) / blocksAcross;
    for (std::size_t k = 0; k < blocksAcross; ++k) {
        const PixelSums s = sumsOf(band, k, ignored, isEqual);
        if (s.count == 0 || s.count * 3 < whole) // mostly furniture
            continue;
        const auto count = static_cast<double>(s.count);
        const auto variance = [&](std::uint64_t sum, std::uint64_t squares) {
            const double mean = static_cast<double>(sum) / count;
            return static_cast<float>(static_cast<double>(squares) / count - mean * mean);
        };
        measures[k] = {.mean = static_cast<float>(static_cast<double>(s.a) / count),
                       .meanB = static_cast<float>(static_cast<double>(s.b) / count),
                       .difference = static_cast<float>(static_cast<double>(s.difference) / count),
                       .varianceA = variance(s.a, s.aa),
                       .varianceB = variance(s.b, s.bb),
                       .isCounted = true};
    }
    return measures;
}

bool BlockComparison::areEqual(std::size_t band) const {
    const auto width = static_cast<std::size_t>(layout_.b.width);
    for (std::int64_t row = rowOf(band); row < endOf(band); ++row)
        if (std::memcmp(layout_.a.row(row + layout_.shift), layout_.b.row(row), width) != 0)
            return false;
    return true;
}

template <class Visit>
void BlockComparison::visitPieces(std::size_t band, std::size_t block, std::span<const CellMask> ignored,
                                  Visit visit) const {
    constexpr std::size_t cells = cellCount / blocksAcross;
    const auto width = static_cast<std::size_t>(layout_.b.width);
    const auto ignoredCells = [&](std::size_t i) { return ignored[i] >> block * cells & ((1u << cells) - 1); };
    for (std::size_t i = 0, end = 0; i < ignored.size(); i = end) { // runs of rows alike
        while (end < ignored.size() && ignoredCells(end) == ignoredCells(i))
            ++end;
        const auto visitCells = [&](std::size_t cell, std::size_t count) {
            const std::size_t begin = cell * width / cellCount, columns = (cell + count) * width / cellCount - begin;
            if (columns > 0)
                visit(rowOf(band) + static_cast<std::int64_t>(i), end - i, begin, columns);
        };
        if (ignoredCells(i) == 0)
            visitCells(block * cells, cells);
        else
            for (std::size_t cell = 0; cell < cells; ++cell)
                if (!(ignoredCells(i) >> cell & 1))
                    visitCells(block * cells + cell, 1);
    }
}

PixelSums BlockComparison::sumsOf(std::size_t band, std::size_t block, std::span<const CellMask> ignored,
                                  bool isEqual) const {
    const Frame &a = layout_.a, &b = layout_.b;
    const auto width = static_cast<std::size_t>(b.width);
    PixelSums sums;
    visitPieces(band, block, ignored, [&](std::int64_t row, std::size_t rows, std::size_t begin, std::size_t columns) {
        const std::uint8_t *p = a.row(row + layout_.shift) + begin, *q = b.row(row) + begin;
        if (rows < ignored.size() || begin != static_cast<std::size_t>(columnOf(block)) ||
            begin + columns != static_cast<std::size_t>(columnOf(block + 1))) {
            addPixels(p, q, width, columns, rows, sums);
            return;
        }
        const auto inA = static_cast<std::size_t>(row + layout_.shift), inB = static_cast<std::size_t>(row);
        const BlockTotals &fromA = a.totals[inA], &toA = a.totals[inA + rows];
        const BlockTotals &fromB = b.totals[inB], &toB = b.totals[inB + rows];
        sums = {.a = toA.sum[block] - fromA.sum[block],
                .b = toB.sum[block] - fromB.sum[block],
                .aa = toA.squares[block] - fromA.squares[block],
                .bb = toB.squares[block] - fromB.squares[block],
                .difference = isEqual ? 0 : squaredDifference(p, q, width, columns, rows),
                .count = columns * rows};
    });
    return sums;
}

double BlockComparison::stepAcross(std::size_t band, std::size_t block, std::span<const CellMask> ignored) const {
    const auto width = static_cast<std::size_t>(layout_.b.width);
    std::uint64_t sum = 0, count = 0;
    visitPieces(band, block, ignored, [&](std::int64_t row, std::size_t rows, std::size_t begin, std::size_t columns) {
        if (begin == 0) // the first has no left neighbour
            ++begin, --columns;
        const std::uint8_t* pixels = layout_.b.row(row) + begin;
        sum += squaredDifference(pixels, pixels - 1, width, columns, rows);
        count += columns * rows;
    });
    return static_cast<double>(sum) / static_cast<double>(std::max<std::uint64_t>(1, count));
}

double BlockComparison::measuredNoise() const {
    std::vector<float> variances, differences;
    for (const Measures& band : measures_)
        for (const Measure& m : band) {
            if (!m.isCounted)
                continue;
            variances.push_back(m.variance());
            if (m.mean > nearlyBlack && m.mean < nearlyWhite)
                differences.push_back(m.difference);
        }
    return std::min(mostNoise, std::max<double>(varianceRoom * percentile(variances, quietest),
                                                differenceRoom * percentile(differences, leastDiffering)));
}

void BlockComparison::judge() {
    bands_.assign(measures_.size(), {});
    const double noise = noise_ = measuredNoise();
    const auto isInformed = [&](const Measure& m) {
        return m.isCounted && std::max(m.variance(), m.difference) >= leastVariance + noise;
    };
    const auto differenceOf = [&](const Measure& m) { // leastVariance: coding noise in faint blocks proves nothing
        return std::max(0.0, m.difference - noise) / (m.varianceA + m.varianceB + leastVariance / 2);
    };
    std::vector<float> differences;
    for (const Measures& band : measures_)
        for (const Measure& m : band)
            if (isInformed(m) && differenceOf(m) < mostDifference)
                differences.push_back(static_cast<float>(differenceOf(m)));
    difference_ = percentile(differences, 50);
    const double alike = layout_.areStrokes // their edges differ before different parts of a photograph
                             ? mostDifference
                             : std::min(mostDifference, leastDifference + overMiddle * difference_);
    const double contradicts = std::max(unclear * alike, leastContradiction);
    std::vector<float> variances; // of the page's like blocks
    for (std::size_t i = 0; i < bands_.size(); ++i) {
        const std::vector<CellMask> ignored = ignoredIn(i);
        for (std::size_t k = 0; k < blocksAcross; ++k) {
            const Measure& m = measures_[i][k];
            if (!isInformed(m))
                continue;
            if (differenceOf(m) >= alike) {
                bands_[i].set(k, Block::unclear);
                continue;
            }
            bands_[i].set(k, stepAcross(i, k, ignored) > leastVariance / 4 + 2 * noise ? Block::alike : Block::lines);
            if (hasBackdrop() && isPage(i, k))
                variances.push_back(m.variance());
        }
    }
    const float faint = percentile(variances, 50) / shiningThrough;
    for (std::size_t i = 0; i < bands_.size(); ++i)
        for (std::size_t k = 0; k < blocksAcross; ++k) {
            const Measure& m = measures_[i][k];
            if (bands_[i].at(k) == Block::unclear && differenceOf(m) >= contradicts && m.difference >= faint &&
                !(layout_.areStrokes && m.hasLostStrokes()) && isPage(i, k, pagePercent))
                bands_[i].set(k, Block::shapes);
        }
}

bool BlockComparison::isPage(std::size_t band, std::size_t block, std::int64_t percent) const {
    if (!hasBackdrop())
        return true;
    constexpr int cells = cellCount / blocksAcross;
    const CellMask here = ((CellMask{1} << cells) - 1) << static_cast<int>(block) * cells;
    std::int64_t page = 0, counted = 0;
    for (std::int64_t row = rowOf(band); row < endOf(band); ++row) {
        const CellMask counts = here & ~ignoredAt(row);
        counted += std::popcount(counts);
        page += std::popcount(counts & (layout_.pageInA[static_cast<std::size_t>(row + layout_.shift)] |
                                        layout_.pageInB[static_cast<std::size_t>(row)]));
    }
    return page * 100 > counted * percent;
}

bool BlockComparison::isUpright(std::size_t band, std::size_t block) const {
    const auto isSame = [&](std::size_t i) { // from row to row
        const std::vector<BlockTotals>& totals = layout_.b.totals;
        const auto first = static_cast<std::size_t>(rowOf(i)), last = static_cast<std::size_t>(endOf(i));
        std::uint32_t low = ~std::uint32_t{0}, high = 0;
        for (std::size_t row = first; row < last; ++row) {
            const std::uint32_t sum = totals[row + 1].sum[block] - totals[row].sum[block];
            low = std::min(low, sum), high = std::max(high, sum);
        }
        return high - low <= columnOf(block + 1) - columnOf(block);
    };
    if (!isSame(band))
        return false;
    std::size_t begin = band, end = band + 1;
    while (begin > 0 && end - begin < longLine && isSame(begin - 1))
        --begin;
    while (end < bands_.size() && end - begin < longLine && isSame(end))
        ++end;
    return end - begin >= longLine;
}

void BlockComparison::findCovered() {
    for (std::size_t i = 0; i < bands_.size(); ++i)
        for (std::size_t k = 0; k < blocksAcross; ++k)
            if (bands_[i].at(k) == Block::shapes && isOtherGround(i, k))
                bands_[i].set(k, Block::covered);
}

bool BlockComparison::isOtherGround(std::size_t band, std::size_t block) const {
    const Measure& m = measures_[band][block];
    const int least = noise_ + difference_ == 0 ? losslessGround : leastGround;
    const double step = least + groundRoom * std::sqrt(noise_ + difference_ * (m.varianceA + m.varianceB));
    const std::int64_t row = rowOf(band), column = columnOf(block);
    const std::uint8_t *a = layout_.a.row(row + layout_.shift) + column, *b = layout_.b.row(row) + column;
    const auto width = static_cast<std::size_t>(layout_.b.width);
    const auto columns = static_cast<std::size_t>(columnOf(block + 1) - column);
    const auto rows = static_cast<std::size_t>(endOf(band) - row);
    const auto tolerance = static_cast<std::uint8_t>(step < 255 ? step : 255);
    if (countBeyond(a, b, width, columns, rows, tolerance) * 2 > columns * rows)
        return true;
    const auto isHalfAtMost = [&](const std::uint8_t* pixels, int level) {
        return level >= 255 ||
               (level >= 0 &&
                countAtMost(pixels, width, columns, rows, static_cast<std::uint8_t>(level)) * 2 >= columns * rows);
    };
    int middle = 0, most = 255; // of the levels that half of the first's pixels do not exceed, the darkest
    const auto tryLevel = [&](int level) {
        if (level < middle || level >= most)
            return;
        if (isHalfAtMost(a, level))
            most = level;
        else
            middle = level + 1;
    };
    tryLevel(a[0]), tryLevel(a[0] - 1); // often it is the corner's
    while (middle < most)
        tryLevel((middle + most) / 2);
    return !isHalfAtMost(b, middle + least) || isHalfAtMost(b, middle - least - 1);
}

} // namespace orbelquist
