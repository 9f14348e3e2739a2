#include "Orbelquist/PairMatcher.hpp"

#include "Orbelquist/EqualFrames.hpp"
#include "Orbelquist/Seam.hpp"
#include "Orbelquist/ShiftProfile.hpp"
#include "Orbelquist/Verification.hpp"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

namespace orbelquist {

namespace {

/// Levels by which cells of equal content may differ: what lossy coding does to the mean of a cell.
constexpr std::uint8_t cellTolerance = 4;

/// Shifts this close are one place: neighbours of the true shift agree nearly as well in soft content.
constexpr std::int64_t onePlace = 3;

/// An overlap of fewer rows is not looked for.
constexpr std::int64_t leastOverlap = 12;

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

} // namespace

KSVPatternPair matchFrames(const Frame& a, const Frame& b) {
    if (a.width != b.width || a.width == 0)
        return {};
    const FramePair pair(a, b, cellTolerance);
    if (const auto equal = equalFrames(pair))
        return *equal;

    std::optional<Examination> best;
    std::int64_t second = 0; // agreement at the runner-up
    for (const Stretch& candidate : candidates(stretchesOfAllShifts(pair))) {
        const auto examined = examine(pair, candidate);
        if (!examined || !holds(*examined, pair))
            continue;
        const bool leads = !best || examined->agreeing > best->agreeing;
        second = std::max(second, !leads ? examined->agreeing : best ? best->agreeing : 0);
        if (leads)
            best = examined;
    }
    if (!best || second * 3 > best->agreeing)
        return {};
    const KSVPattern pattern = seamAt(pair, *best);
    return best->shift > 0 ? KSVPatternPair{pattern, {}} : KSVPatternPair{{}, pattern};
}

} // namespace orbelquist
