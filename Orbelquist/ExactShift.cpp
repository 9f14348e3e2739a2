#include "Orbelquist/ExactShift.hpp"

#include "Orbelquist/Kernels/SquaredDifference.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace orbelquist {

namespace {

/// In square levels.
struct PixelDifference {
    double sum = 0, count = 0;

    double mean() const { return count == 0 ? std::numeric_limits<double>::max() : sum / count; }
    /// By more than the noise of as many pixels would: its square varies by a part of sqrt(2 / count), here four times
    /// that.
    bool isLessThan(const PixelDifference& other) const {
        return mean() * (1 + 4 * std::sqrt(2 / std::max(1.0, count))) < other.mean();
    }
};

/// By how much the pixels of a stretch differ at a shift, without what stands behind the page. Only of rows that are
/// the page in both frames, at another shift, too: a stretch ends with a block, which may reach into a bar, and the
/// bar's edge would outweigh all of a pale page.
PixelDifference pixelDifferences(const FramePair& pair, const Examination& stretch, std::int64_t shift,
                                 std::int64_t otherShift) {
    const auto width = static_cast<std::size_t>(pair.b().width);
    std::int64_t first = stretch.first, last = stretch.last;
    for (const std::int64_t s : {shift, otherShift}) {
        first = std::max(first, pair.firstPageRow(s));
        last = std::min(last, pair.lastPageRow(s));
    }
    std::uint64_t sum = 0, count = 0;
    const auto add = [&](std::int64_t row, std::size_t begin, std::size_t end) {
        count += end - begin;
        for (std::size_t columns; begin < end; begin += columns) {
            columns = std::min(end - begin, mostPixelsAtOnce);
            sum += squaredDifference(pair.a().row(row + shift) + begin, pair.b().row(row) + begin, width, columns, 1);
        }
    };
    // Furniture amid the page may be lines' blank ends: they tell most.
    const bool isWhole = !pair.hasBackdrop() && !pair.isForeground();
    for (std::int64_t row = first; row < last; ++row) {
        if (isWhole) {
            add(row, 0, width);
            continue;
        }
        const CellMask page = ~(pair.ignoredInA(row + shift) | pair.ignoredInB(row));
        for (std::size_t cell = 0; cell < cellCount; ++cell)
            if (page >> cell & 1)
                add(row, cell * width / cellCount, (cell + 1) * width / cellCount);
    }
    return {static_cast<double>(sum), static_cast<double>(count)};
}

} // namespace

double pixelDifference(const FramePair& pair, const Examination& stretch, std::int64_t shift) {
    return pixelDifferences(pair, stretch, shift, shift).mean();
}

std::int64_t exactShift(const FramePair& pair, const Examination& e) {
    if (pixelDifference(pair, e, e.shift) == 0)
        return e.shift;
    std::int64_t best = e.shift, from = 0;
    while (best != from) {
        from = best;
        for (const std::int64_t shift : {from - 1, from + 1, from - 2, from + 2})
            if (shift != 0 && std::abs(shift - e.shift) > std::abs(best - e.shift) &&
                pixelDifferences(pair, e, shift, best).isLessThan(pixelDifferences(pair, e, best, shift)))
                best = shift; // only ever further away: where rows moved by themselves, each may be less than the next
    }
    return best;
}

} // namespace orbelquist
