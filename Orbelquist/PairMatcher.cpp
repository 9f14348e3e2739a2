#include "Orbelquist/PairMatcher.hpp"

#include "Orbelquist/EqualFrames.hpp"
#include "Orbelquist/Seam.hpp"
#include "Orbelquist/ShiftProfile.hpp"
#include "Orbelquist/Verification.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <vector>

namespace orbelquist {

namespace {

/// Levels by which cells of equal content may differ: what lossy coding does to the mean of a cell.
constexpr std::uint8_t cellTolerance = 4;

/// Shifts this close are one place: neighbours of the true shift agree nearly as well in soft content.
constexpr std::int64_t onePlace = 3;

/// Shifts within half a line of text of each other, one of so many of the screen's rows, share the letters' upright
/// strokes: the one with clearly most agreement is the place.
constexpr std::int64_t strokesPerScreen = 100;

/// An overlap of fewer rows is not looked for.
constexpr std::int64_t leastOverlap = 12;

/// Another place that holds leaves the offset open when what agrees there less what does not is more than this part, in
/// percent, of what agrees at the best.
constexpr std::int64_t secondElsewhere = 40;
/// Within a stroke's length the place whose blocks differ less than half as much is the one; where they differ alike,
/// the place with more of them, if any other has less than this part, in percent.
constexpr double lessDifference = 2, leastStep = 0.01;
constexpr std::int64_t secondWithinStroke = 90;

/// Rows of content that are found elsewhere, too, pin nothing: so many percent of their cells, and of the blocks all but
/// one of so many.
constexpr std::int64_t repeatedPercent = 85, repeatedRoom = 32;

/// Places examined on all pixels, by each of two rankings.
constexpr std::size_t examinedPlaces = 10;

std::vector<Stretch> stretchesOfAllShifts(const FramePair& pair) {
    std::vector<Stretch> stretches;
    std::vector<RowAgreement> rows;
    for (std::int64_t shift = leastOverlap - pair.b().height; shift <= pair.a().height - leastOverlap; ++shift) {
        if (shift == 0)
            continue; // what stands still is furniture; equal frames are recognised apart
        pair.compare(shift, rows);
        const Stretch stretch = bestStretch(shift, pair.firstRow(shift), rows);
        if (stretch.score() > 0)
            stretches.push_back(stretch);
    }
    return stretches;
}

/// The best places by score, and by score over contradictions: in dense tables the truth stands far down the first
/// list.
std::vector<Stretch> candidates(std::vector<Stretch> stretches) {
    std::vector<Stretch> chosen;
    const auto take = [&](auto worth) {
        std::ranges::sort(stretches, std::greater(), worth);
        std::size_t taken = 0;
        for (const Stretch& stretch : stretches) {
            const auto near = [&](const Stretch& other) { return std::abs(other.shift - stretch.shift) <= onePlace; };
            if (std::ranges::any_of(chosen, near))
                continue;
            chosen.push_back(stretch);
            if (++taken == examinedPlaces)
                break;
        }
    };
    take([](const Stretch& s) { return static_cast<double>(s.score()); });
    take([](const Stretch& s) {
        return static_cast<double>(s.score()) / static_cast<double>(s.contradicting + cellCount);
    });
    return chosen;
}

/// A page that moved by a few rows only still shows most of its strokes where they were: they look like furniture, and
/// what is left may fit elsewhere. So, with nothing but the bars left out of account, no such small shift may explain
/// the frames better, over most of the screen.
bool mayHaveCrept(const FramePair& pair, std::int64_t shift, std::int64_t few) {
    const FramePair bare = pair.withBarsAlone();
    std::vector<RowAgreement> rows;
    const auto stretchAt = [&](std::int64_t at) {
        bare.compare(at, rows);
        return bestStretch(at, bare.firstRow(at), rows);
    };
    const std::int64_t score = stretchAt(shift).score();
    const std::int64_t height = std::min(pair.a().height, pair.b().height);
    for (std::int64_t small = 1; small <= few; ++small)
        for (const std::int64_t other : {small, -small}) {
            const Stretch stretch = stretchAt(other);
            const bool explainsAll =
                stretch.contradicting * 20 <= stretch.agreeing && (stretch.last - stretch.first) * 2 >= height;
            if (other != shift && explainsAll && stretch.score() > score)
                return true;
        }
    return false;
}

/// Whether the rows that agree are found elsewhere in either frame, too: lines that occur twice pin nothing.
bool isRepeated(const FramePair& pair, const Examination& e) {
    const Frame& b = pair.b();
    const std::int64_t rows = e.last - e.first;
    if (rows * 4 > b.height)
        return false;
    const auto mayLieAt = [&](const Frame& frame, std::int64_t start, std::int64_t step) {
        std::int64_t agreeing = 0, total = 0;
        for (std::int64_t i = 0; i < rows; i += step) {
            const auto at = static_cast<std::size_t>(e.first + i), there = static_cast<std::size_t>(start + i);
            const CellMask equal = equalCells(b.signature[at], frame.signature[there], pair.tolerance());
            agreeing += std::popcount(equal & b.informed[at]);
            total += std::popcount(b.informed[at]);
        }
        return agreeing * 100 >= total * repeatedPercent;
    };
    const auto liesAt = [&](const Frame& frame, std::int64_t start) {
        BlockComparison there({frame, b, start - e.first, e.first, e.last});
        std::int64_t alike = 0, against = 0;
        for (const Band& band : there.bands()) {
            alike += band.count(Block::alike);
            against += band.against();
        }
        return alike * 10 >= e.agreeing * 9 && against * repeatedRoom <= alike;
    };
    for (const Frame* frame : {&pair.a(), &b}) {
        const std::int64_t own = frame == &b ? e.first : e.first + e.shift;
        for (std::int64_t start = 0; start + rows <= frame->height; ++start)
            if (std::abs(start - own) > rows / 2 + onePlace && mayLieAt(*frame, start, 16) &&
                mayLieAt(*frame, start, 1) && liesAt(*frame, start))
                return true;
    }
    return false;
}

} // namespace

KSVPatternPair matchFrames(const Frame& a, const Frame& b) {
    if (a.width != b.width || a.width == 0)
        return {};
    const FramePair pair(a, b, cellTolerance);
    if (const auto equal = equalFrames(pair))
        return *equal;

    std::vector<Examination> held;
    for (const Stretch& candidate : candidates(stretchesOfAllShifts(pair)))
        if (const auto examined = examine(pair, candidate.shift); examined && holds(*examined, pair))
            held.push_back(*examined);
    const auto best = std::ranges::max_element(held, {}, &Examination::agreeing);
    if (best == held.end())
        return {};
    const std::int64_t stroke = std::min(a.height, b.height) / strokesPerScreen;
    const auto isWithinStroke = [&](const Examination& e) { return std::abs(e.shift - best->shift) <= stroke; };
    const auto differsLess = [](const Examination& e, const Examination& than) {
        return e.difference * lessDifference + leastStep < than.difference;
    };
    auto exact = best;
    for (auto other = held.begin(); other != held.end(); ++other)
        if (isWithinStroke(*other) && differsLess(*other, *exact))
            exact = other;
    const bool isOpen = std::ranges::any_of(held, [&](const Examination& other) {
        if (std::abs(other.shift - exact->shift) <= onePlace)
            return false;
        if (isWithinStroke(other))
            return !differsLess(*exact, other) && other.agreeing * 100 > exact->agreeing * secondWithinStroke;
        return other.net() * 100 > best->agreeing * secondElsewhere;
    });
    if (isOpen || isRepeated(pair, *exact) || mayHaveCrept(pair, exact->shift, std::max(onePlace, stroke)))
        return {};
    const KSVPattern pattern = seamAt(pair, *exact);
    return exact->shift > 0 ? KSVPatternPair{pattern, {}} : KSVPatternPair{{}, pattern};
}

} // namespace orbelquist
