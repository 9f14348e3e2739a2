#include "Orbelquist/PairMatcher.hpp"

#include "Orbelquist/EqualFrames.hpp"
#include "Orbelquist/Seam.hpp"
#include "Orbelquist/ShiftProfile.hpp"
#include "Orbelquist/Verification.hpp"

#include <algorithm>
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

/// Another place that holds as well leaves the offset open unless it agrees in less than this, in percent of the best:
/// elsewhere, and within a stroke's length.
constexpr std::int64_t secondElsewhere = 33;
constexpr std::int64_t secondWithinStroke = 90;

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

} // namespace

KSVPatternPair matchFrames(const Frame& a, const Frame& b) {
    if (a.width != b.width || a.width == 0)
        return {};
    const FramePair pair(a, b, cellTolerance);
    if (const auto equal = equalFrames(pair))
        return *equal;

    std::vector<Examination> held;
    for (const Stretch& candidate : candidates(stretchesOfAllShifts(pair)))
        if (const auto examined = examine(pair, candidate); examined && holds(*examined, pair))
            held.push_back(*examined);
    const auto best = std::ranges::max_element(held, {}, &Examination::agreeing);
    if (best == held.end())
        return {};
    const std::int64_t stroke = std::min(a.height, b.height) / strokesPerScreen;
    const bool isOpen = std::ranges::any_of(held, [&](const Examination& other) {
        const std::int64_t apart = std::abs(other.shift - best->shift);
        return apart > onePlace &&
               other.agreeing * 100 > best->agreeing * (apart <= stroke ? secondWithinStroke : secondElsewhere);
    });
    if (isOpen || mayHaveCrept(pair, best->shift, std::max(onePlace, stroke)))
        return {};
    const KSVPattern pattern = seamAt(pair, *best);
    return best->shift > 0 ? KSVPatternPair{pattern, {}} : KSVPatternPair{{}, pattern};
}

} // namespace orbelquist
