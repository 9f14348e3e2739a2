#include "Orbelquist/Candidates.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <span>

namespace orbelquist {

namespace {

/// Rows of each shift that are looked at, some two a line of text; and the places of which all rows are, and those
/// examined on all pixels, by each of three rankings.
constexpr std::int64_t sampledRows = 128;
constexpr std::size_t shortlistedPlaces = 32, examinedPlaces = 10;

/// Where so little contradicts the best place, nothing with so little agreement beside it can be another: one part of
/// so many.
constexpr std::int64_t negligibleShare = 16;

/// The best places by score; by score over contradictions: in dense tables the truth stands far down the first list;
/// and by score over those of the whole overlap: where two frames share a line or two, little can contradict. By score,
/// best first.
std::vector<Stretch> bestPlaces(std::vector<Stretch> stretches, std::size_t count) {
    std::vector<Stretch> chosen;
    const auto take = [&](auto worth) {
        std::ranges::sort(stretches, std::greater(), worth);
        std::size_t taken = 0;
        for (const Stretch& stretch : stretches) {
            const auto near = [&](const Stretch& other) { return std::abs(other.shift - stretch.shift) <= onePlace; };
            if (std::ranges::any_of(chosen, near))
                continue;
            chosen.push_back(stretch);
            if (++taken == count)
                break;
        }
    };
    const auto over = [](std::int64_t score, std::int64_t against) {
        return static_cast<double>(score) / static_cast<double>(against + cellCount);
    };
    take([](const Stretch& s) { return static_cast<double>(s.score()); });
    take([&](const Stretch& s) { return over(s.score(), s.contradicting); });
    take([&](const Stretch& s) { return over(s.score(), s.overall); });
    std::ranges::sort(chosen, std::greater(), &Stretch::score);
    return chosen;
}

/// The best stretches, without their rows, of the shifts at which one frame's rows lie on rows further down of the
/// other, at some rows each; where more agrees than not, by that number of rows.
std::vector<Stretch> stretchesFurtherDown(const FramePair& pair, bool isInFirst) {
    const std::int64_t moving = (isInFirst ? pair.a() : pair.b()).height;
    const std::int64_t still = (isInFirst ? pair.b() : pair.a()).height;
    const RowsView movingRows = isInFirst ? pair.rowsOfA() : pair.rowsOfB();
    const RowsView stillRows = isInFirst ? pair.rowsOfB() : pair.rowsOfA();
    const auto overlapAt = [&](std::int64_t down) { return std::min(still, moving - down); };
    const auto stepAt = [&](std::int64_t down) { return std::max<std::int64_t>(1, overlapAt(down) / sampledRows); };
    std::vector<Stretch> stretches;
    std::int64_t down = std::max<std::int64_t>(1, leastOverlap - still); // at 0 all is furniture
    while (down <= moving - leastOverlap) {
        const std::int64_t step = stepAt(down);
        std::array<std::size_t, shiftsAtOnce> rows;
        std::size_t count = 0;
        for (std::int64_t next = down; count < shiftsAtOnce && next <= moving - leastOverlap && stepAt(next) == step;)
            rows[count++] = static_cast<std::size_t>((overlapAt(next++) + step - 1) / step);
        std::array<BestRows, shiftsAtOnce> best;
        compareShifts(stillRows, {movingRows.signature + down, movingRows.informed + down, movingRows.ignored + down},
                      pair.tolerance(), static_cast<std::size_t>(step), std::span(rows).first(count),
                      std::span(best).first(count));
        for (std::size_t i = 0; i < count; ++i, ++down)
            if (const auto& [score, contradicting, overall] = best[i]; score > 0)
                stretches.push_back({.shift = isInFirst ? down : -down,
                                     .agreeing = score + 2 * contradicting,
                                     .contradicting = contradicting,
                                     .overall = overall});
    }
    return stretches;
}

} // namespace

Stretch stretchAt(const FramePair& pair, std::int64_t shift, std::vector<RowAgreement>& rows) {
    pair.compare(shift, rows);
    return bestStretch(shift, pair.firstRow(shift), rows);
}

std::vector<Stretch> stretchesOfAllShifts(const FramePair& pair) {
    std::vector<Stretch> stretches = stretchesFurtherDown(pair, false);
    std::ranges::reverse(stretches);
    std::ranges::copy(stretchesFurtherDown(pair, true), std::back_inserter(stretches));
    return stretches;
}

// Uphill to the best of its neighbours: some rows alone may have named the wrong one.
std::vector<Stretch> candidates(const FramePair& pair) {
    std::vector<RowAgreement> rows;
    std::vector<Stretch> shortlist = bestPlaces(stretchesOfAllShifts(pair), shortlistedPlaces);
    if (!shortlist.empty() && shortlist.front().overall * negligibleShare <= shortlist.front().agreeing)
        std::erase_if(shortlist, [least = shortlist.front().agreeing / negligibleShare](const Stretch& stretch) {
            return stretch.agreeing < least;
        });
    for (Stretch& stretch : shortlist) {
        stretch = stretchAt(pair, stretch.shift, rows);
        for (const std::int64_t step : {-1, 1})
            while (stretch.shift + step != 0) {
                const Stretch next = stretchAt(pair, stretch.shift + step, rows);
                if (next.score() <= stretch.score())
                    break;
                stretch = next;
            }
    }
    return bestPlaces(std::move(shortlist), examinedPlaces);
}

} // namespace orbelquist
