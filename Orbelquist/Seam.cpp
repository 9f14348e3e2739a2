#include "Orbelquist/Seam.hpp"

#include <algorithm>
#include <cstdlib>

namespace orbelquist {

namespace {

/// A fade over more rows than this hides a seam no better.
constexpr std::int64_t bandRows = 24;

/// A bar's shadow reaches so many of the screen's rows.
constexpr std::int64_t shadowShare = 100;

/// The first band of so many rows that agree is taken; where there is none, the longest.
constexpr std::int64_t leastRows = 12;

struct Rows {
    std::int64_t first = 0, last = 0;
    std::int64_t count() const { return last - first; }
};

template <class Agrees>
Rows highestBand(const Rows& rows, Agrees agrees) {
    Rows best{rows.first, rows.first};
    for (std::int64_t r = rows.first; r < rows.last; ++r) {
        Rows band{r, r};
        while (band.last < rows.last && band.count() < bandRows && agrees(band.last))
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

    const auto bandIn = [&](const Rows& rows) {
        return highestBand(rows, [&](std::int64_t r) {
            return rowsAgree(lower.row(r), upper.row(r + down), lower.width, verified.tolerance);
        });
    };
    // A bar's shadow lies on the page beyond it, and hardly shows; a short overlap has no rows to spare.
    const Furniture& furniture = pair.furniture();
    const std::int64_t shadow = lower.height / shadowShare;
    const std::int64_t below = furniture.topRows > 0 ? furniture.topRows + shadow : 0;
    const std::int64_t above = upper.height - down - (furniture.bottomRows > 0 ? furniture.bottomRows + shadow : 0);
    Rows band = bandIn({std::max(stretch.first, below), std::min(stretch.last, above)});
    if (band.count() < leastRows)
        band = bandIn(stretch);
    return KSVPattern(shift, band.first - toLower,
                      std::max<std::int64_t>(1, band.count())); // in rows of the second frame
}

} // namespace orbelquist
