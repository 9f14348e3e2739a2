#include "Orbelquist/BlockComparison.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace orbelquist {

namespace {

constexpr std::int64_t leastBandRows = 6;

/// A block carries information when its luma varies, or differs, by more square levels than this: what is fainter
/// people hardly see. The frames' noise comes on top.
constexpr double leastVariance = 36;

/// Noise is what the quietest blocks, which are blank, vary by, or differ by where they are neither black nor white
/// (there it is clipped): so many percent of all blocks, with room for the rest, but never more than this.
constexpr std::ptrdiff_t quietest = 5;
constexpr double varianceRoom = 2.5, differenceRoom = 1.25, mostNoise = 60;
constexpr float nearlyBlack = 12, nearlyWhite = 243;

/// Like blocks differ by less than this part of their variance, and by not much more than half of them do. Other
/// content differs by about all of it, text coded at quality 60 by a hundredth, text moved by half a row by a tenth.
constexpr double mostDifference = 0.25, leastDifference = 0.02, overMiddle = 4;
/// Blocks contradict that differ by twice as much, and by more than coding does to faint textures; in between nothing
/// is said.
constexpr double unclear = 2, leastContradiction = 0.12;

/// Another ground: half of the pixels of one lie so many levels from half of those of the other, or more than half
/// differ by more than that, with room for so many times the frames' noise.
constexpr double leastGround = 4, groundRoom = 2;

struct Sums {
    double a = 0, b = 0, aa = 0, bb = 0, ab = 0, count = 0;

    void add(const std::uint8_t* p, const std::uint8_t* q, std::int64_t pixels) {
        std::uint32_t rowA = 0, rowB = 0, rowAA = 0, rowBB = 0, rowAB = 0;
        for (std::int64_t x = 0; x < pixels; ++x) {
            const std::uint32_t u = p[x], v = q[x];
            rowA += u, rowB += v, rowAA += u * u, rowBB += v * v, rowAB += u * v;
        }
        a += rowA, b += rowB, aa += rowAA, bb += rowBB, ab += rowAB, count += static_cast<double>(pixels);
    }
};

float percentile(std::vector<float>& values, std::ptrdiff_t percent) {
    if (values.empty())
        return 0;
    const auto place = values.begin() + std::ssize(values) * percent / 100;
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace

BlockComparison::BlockComparison(const Layout& layout)
    : layout_(layout),
      bandRows_(std::max(leastBandRows, std::min(layout.a.height, layout.b.height) / bandsPerScreen)) {
    const std::int64_t rows = std::max<std::int64_t>(0, layout.last - layout.first);
    bands_.resize(static_cast<std::size_t>((rows + bandRows_ - 1) / bandRows_));
    std::vector<Measures> measures;
    for (std::size_t i = 0; i < bands_.size(); ++i)
        measures.push_back(measure(i));
    judge(measures);
}

CellMask BlockComparison::ignoredAt(std::int64_t row) const {
    const auto at = [](std::span<const CellMask> masks, std::int64_t y) {
        return masks.empty() ? CellMask{0} : masks[static_cast<std::size_t>(y)];
    };
    return at(layout_.ignoredInA, row + layout_.shift) | at(layout_.ignoredInB, row);
}

BlockComparison::Measures BlockComparison::measure(std::size_t band) const {
    const auto& [a, b, shift, first, last, ignoredInA, ignoredInB] = layout_;
    std::array<Sums, blocksAcross> sums = {};
    for (std::int64_t row = rowOf(band); row < endOf(band); ++row) {
        const CellMask skip = ignoredAt(row);
        const std::uint8_t *p = a.row(row + shift), *q = b.row(row);
        for (int cell = 0; cell < cellCount; ++cell) {
            if (skip >> cell & 1)
                continue;
            const std::int64_t begin = cell * b.width / cellCount, end = (cell + 1) * b.width / cellCount;
            sums[static_cast<std::size_t>(cell * blocksAcross / cellCount)].add(p + begin, q + begin, end - begin);
        }
    }
    Measures measures;
    const double whole = static_cast<double>((endOf(band) - rowOf(band)) * b.width) / blocksAcross;
    for (std::size_t k = 0; k < blocksAcross; ++k) {
        const Sums& s = sums[k];
        if (s.count == 0 || s.count * 3 < whole) // mostly furniture
            continue;
        measures[k] = {.mean = static_cast<float>(s.a / s.count),
                       .difference = static_cast<float>((s.aa + s.bb - 2 * s.ab) / s.count),
                       .varianceA = static_cast<float>((s.aa - s.a * s.a / s.count) / s.count),
                       .varianceB = static_cast<float>((s.bb - s.b * s.b / s.count) / s.count),
                       .isCounted = true};
    }
    return measures;
}

double BlockComparison::noiseOf(const std::vector<Measures>& measures) const {
    std::vector<float> variances, differences;
    for (const Measures& band : measures)
        for (const Measure& m : band) {
            if (!m.isCounted)
                continue;
            variances.push_back(m.variance());
            if (m.mean > nearlyBlack && m.mean < nearlyWhite)
                differences.push_back(m.difference);
        }
    return std::min(mostNoise, std::max<double>(varianceRoom * percentile(variances, quietest),
                                                differenceRoom * percentile(differences, quietest)));
}

void BlockComparison::judge(const std::vector<Measures>& measures) {
    const double noise = noiseOf(measures);
    const auto isInformed = [&](const Measure& m) {
        return m.isCounted && std::max(m.variance(), m.difference) >= leastVariance + noise;
    };
    const auto differenceOf = [&](const Measure& m) { // leastVariance: coding noise in faint blocks proves nothing
        return std::max(0.0, m.difference - noise) / (m.varianceA + m.varianceB + leastVariance / 2);
    };
    std::vector<float> differences;
    for (const Measures& band : measures)
        for (const Measure& m : band)
            if (isInformed(m) && differenceOf(m) < mostDifference)
                differences.push_back(static_cast<float>(differenceOf(m)));
    difference_ = percentile(differences, 50);
    const double alike = std::min(mostDifference, leastDifference + overMiddle * difference_);
    const double contradicts = std::max(unclear * alike, leastContradiction);
    for (std::size_t i = 0; i < bands_.size(); ++i)
        for (std::size_t k = 0; k < blocksAcross; ++k) {
            const Measure& m = measures[i][k];
            if (!isInformed(m))
                continue;
            const double difference = differenceOf(m);
            const double step = groundRoom * std::sqrt(noise + difference_ * (m.varianceA + m.varianceB));
            bands_[i].set(k, difference < alike           ? Block::alike
                             : difference < contradicts   ? Block::unclear
                             : isOtherGround(i, k, step)  ? Block::covered
                                                          : Block::shapes);
        }
}

bool BlockComparison::isOtherGround(std::size_t band, std::size_t block, double noise) const {
    std::array<int, 256> inA = {}, inB = {};
    int total = 0, differing = 0;
    for (std::int64_t row = rowOf(band); row < endOf(band); ++row) {
        const std::uint8_t *p = layout_.a.row(row + layout_.shift), *q = layout_.b.row(row);
        for (std::int64_t x = columnOf(block); x < columnOf(block + 1); ++x) {
            ++inA[p[x]], ++inB[q[x]], ++total;
            differing += std::abs(p[x] - q[x]) > leastGround + noise;
        }
    }
    const auto middle = [&](const std::array<int, 256>& histogram) {
        int level = 0;
        for (int below = histogram[0]; below * 2 < total; below += histogram[static_cast<std::size_t>(level)])
            ++level;
        return level;
    };
    return differing * 2 > total || std::abs(middle(inA) - middle(inB)) > leastGround;
}

} // namespace orbelquist
