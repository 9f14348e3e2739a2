#include "Orbelquist/Seam.hpp"

#include <algorithm>
#include <cstdlib>

namespace orbelquist {

namespace {

/// A fade over more rows than this hides a seam no better.
constexpr std::int64_t bandRows = 24;

/// A bar's shadow reaches so many of the screen's rows.
constexpr std::int64_t shadowShare = 100;

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
    std::int64_t first = verified.first + toLower, last = verified.last + toLower;
    // A bar's shadow lies on the page beyond it, and hardly shows; a short overlap has no rows to spare.
    const Furniture& furniture = pair.furniture();
    const std::int64_t shadow = lower.height / shadowShare;
    const std::int64_t below = furniture.topRows > 0 ? furniture.topRows + shadow : 0;
    const std::int64_t above = upper.height - down - (furniture.bottomRows > 0 ? furniture.bottomRows + shadow : 0);
    if (std::min(last, above) - std::max(first, below) >= bandRows) {
        first = std::max(first, below);
        last = std::min(last, above);
    }

    std::int64_t bestFirst = first, bestLength = 0, start = first;
    for (std::int64_t r = first; r <= last && bestLength < bandRows; ++r) {
        const bool agrees = r < last && rowsAgree(lower.row(r), upper.row(r + down), lower.width, verified.tolerance);
        if (agrees && r + 1 - start > bestLength) {
            bestFirst = start;
            bestLength = r + 1 - start;
        }
        if (!agrees)
            start = r + 1;
    }
    const std::int64_t cropPoint = bestFirst - toLower; // a row of the second frame, as in every pattern
    return KSVPattern(shift, cropPoint, std::max<std::int64_t>(1, bestLength));
}

} // namespace orbelquist
