#include "Orbelquist/ExactShift.hpp"

#include "Orbelquist/Kernels/SquaredDifference.hpp"
#include "Orbelquist/SomeRows.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <vector>

namespace orbelquist {

namespace {

/// Rows of a stretch that are looked at.
constexpr std::int64_t sampledRows = 256;

/// One row of so many may show something else at both of two shifts, such as a bar's edge, which would outweigh all of
/// a pale page.
constexpr std::size_t otherShare = 8;

/// In square levels.
struct PixelDifference {
    double sum = 0, count = 0;

    void add(const PixelDifference& other) { sum += other.sum, count += other.count; }
    double mean() const { return count == 0 ? std::numeric_limits<double>::max() : sum / count; }
    /// By more than the noise of as many pixels would: its square varies by a part of sqrt(2 / count), here four times
    /// that.
    bool isLessThan(const PixelDifference& other) const {
        return mean() * (1 + 4 * std::sqrt(2 / std::max(1.0, count))) < other.mean();
    }
};

/// By how much the pixels of some of the rows of a stretch differ at a shift, without what stands behind the page. Only
/// of rows that are the page in both frames, at another shift, too: a stretch ends with a block, which may reach into a
/// bar.
std::vector<PixelDifference> rowDifferences(const FramePair& pair, const Examination& stretch, std::int64_t shift,
                                            std::int64_t otherShift) {
    const auto width = static_cast<std::size_t>(pair.b().width);
    std::int64_t first = stretch.first, last = stretch.last;
    for (const std::int64_t s : {shift, otherShift}) {
        first = std::max(first, pair.firstPageRow(s));
        last = std::min(last, pair.lastPageRow(s));
    }
    std::vector<PixelDifference> differences;
    visitSome(first, last, sampledRows, [&](std::int64_t row) {
        PixelDifference& difference = differences.emplace_back();
        const auto add = [&](std::size_t begin, std::size_t end) {
            const std::uint64_t sum =
                squaredDifference(pair.a().row(row + shift) + begin, pair.b().row(row) + begin, width, end - begin, 1);
            difference.add({static_cast<double>(sum), static_cast<double>(end - begin)});
        };
        if (!pair.hasBackdrop()) { // furniture amid the page may be lines' blank ends: they tell most
            add(0, width);
            return;
        }
        const CellMask page = ~(pair.ignoredInA(row + shift) | pair.ignoredInB(row));
        for (std::size_t cell = 0; cell < cellCount; ++cell)
            if (page >> cell & 1)
                add(cell * width / cellCount, (cell + 1) * width / cellCount);
    });
    return differences;
}

/// Whether the pixels clearly differ less at one shift than at another.
bool isLess(const FramePair& pair, const Examination& stretch, std::int64_t shift, std::int64_t than) {
    const auto here = rowDifferences(pair, stretch, shift, than), there = rowDifferences(pair, stretch, than, shift);
    std::vector<std::size_t> rows(here.size());
    std::iota(rows.begin(), rows.end(), std::size_t{0});
    std::ranges::sort(rows, {}, [&](std::size_t row) { return std::min(here[row].mean(), there[row].mean()); });
    rows.resize(rows.size() - rows.size() / otherShare);
    PixelDifference sumHere, sumThere;
    for (const std::size_t row : rows)
        sumHere.add(here[row]), sumThere.add(there[row]);
    return sumHere.isLessThan(sumThere);
}

} // namespace

double pixelDifference(const FramePair& pair, const Examination& stretch, std::int64_t shift) {
    PixelDifference sum;
    for (const PixelDifference& row : rowDifferences(pair, stretch, shift, shift))
        sum.add(row);
    return sum.mean();
}

std::int64_t exactShift(const FramePair& pair, const Examination& e) {
    if (pixelDifference(pair, e, e.shift) == 0)
        return e.shift;
    std::int64_t best = e.shift, from = 0;
    while (best != from) {
        from = best;
        for (const std::int64_t shift : {from - 1, from + 1, from - 2, from + 2})
            if (shift != 0 && std::abs(shift - e.shift) > std::abs(best - e.shift) && isLess(pair, e, shift, best))
                best = shift; // only ever further away: where rows moved by themselves, each may be less than the next
    }
    return best;
}

} // namespace orbelquist
