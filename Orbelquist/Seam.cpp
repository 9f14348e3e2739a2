#include "Orbelquist/Seam.hpp"

#include "Orbelquist/SomeRows.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace orbelquist {

namespace {

/// The first band of so many rows that agree is taken; where there is none, the longest.
constexpr std::int64_t leastRows = 12;

/// Levels by which equal pixels may differ, and where no band of these is, so many times what three quarters of the
/// edge pixels stay within more.
constexpr int losslessTolerance = 6, toleranceOverNoise = 6, noisiest = 7; // levels

/// Rows of the stretch whose edges are looked at.
constexpr std::int64_t sampledRows = 128;

/// What three quarters of the edge pixels of the stretch stay within, in levels, without the furniture.
int noiseOf(const FramePair& pair, const Examination& stretch) {
    const Frame &a = pair.a(), &b = pair.b();
    std::array<std::int64_t, 256> differences = {};
    std::int64_t total = 0;
    const auto width = static_cast<std::size_t>(b.width);
    std::vector<std::uint8_t> edgesOfA(width), edgesOfB(width);
    visitSome(stretch.first, stretch.last, sampledRows, [&](std::int64_t row) {
        const CellMask counted = ~(pair.ignoredInA(row + stretch.shift) | pair.ignoredInB(row));
        const std::uint8_t *p = a.row(row + stretch.shift), *q = b.row(row);
        markEdges(a, row + stretch.shift, 0, edgesOfA);
        markEdges(b, row, 0, edgesOfB);
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            if (!(counted >> cell & 1))
                continue;
            for (std::size_t x = cell * width / cellCount; x < (cell + 1) * width / cellCount; ++x)
                if (edgesOfA[x] | edgesOfB[x]) {
                    ++differences[static_cast<std::size_t>(std::abs(p[x] - q[x]))];
                    ++total;
                }
        }
    });
    int noise = 0;
    for (std::int64_t within = differences[0]; within * 4 < total * 3;)
        within += differences[static_cast<std::size_t>(++noise)];
    return noise;
}

template <class Agrees>
Rows highestBand(const Rows& rows, Agrees agrees) {
    Rows best{rows.first, rows.first};
    for (std::int64_t r = rows.first; r < rows.last; ++r) {
        Rows band{r, r};
        while (band.last < rows.last && band.count() < seamRows && agrees(band.last))
            ++band.last;
        if (band.count() > best.count())
            best = band;
        if (best.count() >= leastRows)
            break;
        r = band.last;
    }
    return best;
}

bool rowsAgree(const std::uint8_t* a, const std::uint8_t* b, std::int64_t width, int tolerance) {
    for (std::int64_t x = 0; x < width; ++x)
        if (std::abs(a[x] - b[x]) > tolerance)
            return false;
    return true;
}

} // namespace

KSVPattern seamAt(const FramePair& pair, const Examination& verified) {
    const std::int64_t shift = verified.shift;
    const Frame& upper = shift > 0 ? pair.a() : pair.b();
    const Frame& lower = shift > 0 ? pair.b() : pair.a();
    const std::int64_t down = std::abs(shift); // row r of the lower frame lies on row r + down of the upper one
    const std::int64_t toLower = shift > 0 ? 0 : shift; // from rows of the second frame to rows of the lower one
    const Rows stretch{verified.first + toLower, verified.last + toLower};

    const auto bandIn = [&](const Rows& rows, int tolerance) {
        return highestBand(
            rows, [&](std::int64_t r) { return rowsAgree(lower.row(r), upper.row(r + down), lower.width, tolerance); });
    };
    // A bar's shadow lies on the page beyond it, and hardly shows; a short overlap has no rows to spare.
    const Furniture& furniture = pair.furniture();
    const std::int64_t shadow = lower.height / shadowShare;
    const std::int64_t below = furniture.topRows > 0 ? furniture.topRows + shadow : 0;
    const std::int64_t above = upper.height - down - (furniture.bottomRows > 0 ? furniture.bottomRows + shadow : 0);
    const Rows clear{std::max(stretch.first, below), std::min(stretch.last, above)};
    Rows band = bandIn(clear, losslessTolerance);
    if (band.count() < leastRows) {
        const int tolerance = losslessTolerance + toleranceOverNoise * std::min(noiseOf(pair, verified), noisiest);
        band = bandIn(clear, tolerance);
        if (band.count() < leastRows)
            band = bandIn(stretch, tolerance);
    }
    return KSVPattern(shift, band.first - toLower,
                      std::max<std::int64_t>(1, band.count())); // in rows of the second frame
}

} // namespace orbelquist
