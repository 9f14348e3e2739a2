#include "Orbelquist/Candidates.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <span>
#include <utility>

namespace orbelquist {

namespace {

/// Rows of each shift that are looked at, at least, and less than twice as many, some one a line of text: of those that
/// hold anything, and of the blank ones, which only contradict.
constexpr std::size_t sampledRows = 64, sampledBlankRows = 16;
static_assert(2 * (sampledRows + sampledBlankRows) <= mostRows);

/// The places of which all rows are looked at, and those examined on all pixels, by each of three rankings.
constexpr std::size_t shortlistedPlaces = 16, examinedPlaces = 10;

/// Where so little contradicts the best place, nothing with so little agreement beside it can be another: one part of
/// so many.
constexpr std::int64_t negligibleShare = 16;

/// What some rows, or a shift some rows off, tell of a place is at least one part of so many of what it has.
constexpr std::int64_t mostFoundNearby = 4;

/// The best places by score; by score over contradictions: in dense tables the truth stands far down the first list;
/// and by score over those of the whole overlap: where two frames share a line or two, little can contradict. By score,
/// best first.
std::vector<Stretch> bestPlaces(std::vector<Stretch> stretches, std::size_t count) {
    std::vector<Stretch> chosen;
    const auto take = [&](auto worth) {
        std::ranges::make_heap(stretches, {}, worth);
        std::size_t taken = 0;
        for (auto end = stretches.end(); taken < count && end != stretches.begin();) {
            std::ranges::pop_heap(stretches.begin(), end--, {}, worth);
            const auto near = [&](const Stretch& other) { return std::abs(other.shift - end->shift) <= onePlace; };
            if (std::ranges::any_of(chosen, near))
                continue;
            chosen.push_back(*end);
            ++taken;
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

/// Which rows of a frame are looked at where its upper part is overlapped.
class Sample {
public:
    Sample(const RowsView& frame, std::int64_t height) {
        for (std::uint32_t row = 0; row < height; ++row)
            if (const CellMask seen = ~frame.ignored[row]; seen != 0)
                (frame.informed[row] & seen ? informed_ : blank_).push_back(row);
    }

    /// Those above row `end`, which never grows from call to call; more may follow that are not.
    std::span<const std::uint32_t> rowsTo(std::int64_t end) {
        const std::size_t step = stepTo(end, informed_, sampledRows), over = stepTo(end, blank_, sampledBlankRows);
        if (step == step_ && over == over_)
            return rows_;
        step_ = step, over_ = over;
        rows_.clear();
        const auto take = [&](const std::vector<std::uint32_t>& all, std::size_t every) {
            for (std::size_t k = 0; k < all.size() && all[k] < end; k += every)
                rows_.push_back(all[k]);
        };
        take(informed_, step);
        const std::ptrdiff_t count = std::ssize(rows_);
        take(blank_, over);
        std::ranges::inplace_merge(rows_, rows_.begin() + count);
        return rows_;
    }

    /// One of so many rows that hold anything was in the last answer.
    std::size_t step() const { return step_; }

private:
    static std::size_t stepTo(std::int64_t end, const std::vector<std::uint32_t>& rows, std::size_t most) {
        const auto count = static_cast<std::size_t>(std::ranges::lower_bound(rows, end) - rows.begin());
        return std::max<std::size_t>(1, count / most);
    }

    std::vector<std::uint32_t> informed_, blank_, rows_;
    std::size_t step_ = 0, over_ = 0;
};

/// The best stretches, without their rows, of the shifts at which one frame's rows lie on rows up to `furthest` further
/// down of the other, at some rows each; where more agrees than not, by that number of rows.
std::vector<Stretch> stretchesFurtherDown(const FramePair& pair, bool isInFirst, std::int64_t furthest) {
    const std::int64_t moving = (isInFirst ? pair.a() : pair.b()).height;
    const std::int64_t still = (isInFirst ? pair.b() : pair.a()).height;
    const RowsView movingRows = isInFirst ? pair.rowsOfA() : pair.rowsOfB();
    const RowsView stillRows = isInFirst ? pair.rowsOfB() : pair.rowsOfA();
    const std::int64_t last = still < leastOverlap ? 0 : std::min(furthest, moving - leastOverlap);
    const auto overlapAt = [&](std::int64_t down) { return std::min(still, moving - down); };
    Sample sample(stillRows, still);
    std::vector<Stretch> stretches;
    std::int64_t down = 1; // at 0 all is furniture
    while (down <= last) {
        const std::span<const std::uint32_t> rows = sample.rowsTo(overlapAt(down));
        const auto shifts = std::min(shiftsAtOnce, static_cast<std::size_t>(last - down + 1));
        std::array<std::size_t, shiftsAtOnce> counts;
        std::size_t count = rows.size();
        for (std::size_t s = 0; s < shifts; ++s) {
            while (count > 0 && rows[count - 1] >= overlapAt(down + static_cast<std::int64_t>(s)))
                --count;
            counts[s] = count;
        }
        std::array<BestRows, shiftsAtOnce> best;
        compareShifts(stillRows, {movingRows.signature + down, movingRows.informed + down, movingRows.ignored + down},
                      pair.tolerance(), rows, std::span(counts).first(shifts), std::span(best).first(shifts));
        for (std::size_t s = 0; s < shifts; ++s, ++down)
            if (const auto& [score, contradicting, overall] = best[s]; score > 0)
                stretches.push_back({.shift = isInFirst ? down : -down,
                                     .agreeing = score + 2 * contradicting,
                                     .contradicting = contradicting,
                                     .overall = overall,
                                     .step = static_cast<std::int64_t>(sample.step())});
    }
    return stretches;
}

/// The best stretch uphill of one, shift by shift, all looked at in all rows.
Stretch bestNearby(const FramePair& pair, Stretch best) {
    std::vector<RowAgreement> rows;
    for (const std::int64_t step : {-1, 1})
        while (best.shift + step != 0) {
            const Stretch next = stretchAt(pair, best.shift + step, rows);
            if (next.score() <= best.score())
                break;
            best = next;
        }
    return best;
}

} // namespace

Stretch stretchAt(const FramePair& pair, std::int64_t shift, std::vector<RowAgreement>& rows) {
    pair.compare(shift, rows);
    return bestStretch(shift, pair.firstRow(shift), rows);
}

std::vector<Stretch> sampledStretches(const FramePair& pair, std::int64_t furthest) {
    std::vector<Stretch> stretches = stretchesFurtherDown(pair, false, furthest);
    std::ranges::reverse(stretches);
    std::ranges::copy(stretchesFurtherDown(pair, true, furthest), std::back_inserter(stretches));
    return stretches;
}

std::optional<Stretch> bestOf(const FramePair& pair, std::span<const Stretch> sampled) {
    const auto most = std::ranges::max_element(sampled, {}, &Stretch::score);
    if (most == sampled.end())
        return std::nullopt;
    std::vector<RowAgreement> rows;
    return bestNearby(pair, stretchAt(pair, most->shift, rows));
}

std::vector<Stretch> candidates(const FramePair& pair, std::vector<Stretch> sampled, std::int64_t least) {
    std::erase_if(sampled, [&](const Stretch& s) { return s.agreeing * s.step * mostFoundNearby < least; });
    std::vector<Stretch> places = bestPlaces(std::move(sampled), shortlistedPlaces);
    if (!places.empty() && places.front().overall * negligibleShare <= places.front().agreeing)
        std::erase_if(places, [negligible = places.front().agreeing / negligibleShare](const Stretch& stretch) {
            return stretch.agreeing < negligible;
        });
    std::vector<RowAgreement> rows;
    for (Stretch& place : places)
        place = stretchAt(pair, place.shift, rows);
    std::erase_if(places, [&](const Stretch& place) { return place.agreeing * mostFoundNearby < least; });
    for (Stretch& place : places)
        place = bestNearby(pair, place);
    std::erase_if(places, [&](const Stretch& place) { return place.agreeing < least; });
    return bestPlaces(std::move(places), examinedPlaces);
}

} // namespace orbelquist
