#include "Orbelquist/Doubts.hpp"

#include "Orbelquist/Candidates.hpp"
#include "Orbelquist/ExactShift.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

namespace orbelquist {

namespace {

/// Rows of content that are found elsewhere, too, pin nothing: so many percent of their cells, and of the blocks all
/// but one of so many.
constexpr std::int64_t repeatedPercent = 85, repeatedRoom = 32;
/// Half of the cells of so many of these rows, or up to twice as many, must be found before all are looked at.
constexpr std::size_t firstRepeated = 8;
/// What is higher than one of so many parts of the screen is not asked for a second time.
constexpr std::int64_t repeatedShare = 2;

/// A small shift explains the frames where no more than one of so many cells contradicts, in all rows; some rows may
/// show twice as many.
constexpr std::int64_t explainedShare = 20;
/// What agrees over one of so many parts of the screen is much; and cleaner by much what contradicts so many times
/// less.
constexpr std::int64_t muchShare = 4, muchCleaner = 4;
/// What is left of strokes fits a line's height further on, at most: so many times the small shifts.
constexpr std::int64_t strokesReach = 4;

} // namespace

bool isRepeated(const FramePair& pair, const Examination& e) {
    const Frame& b = pair.b();
    const std::int64_t rows = e.last - e.first;
    if (rows * repeatedShare > b.height)
        return false;
    // What stands still amid the screen may be page that repeats.
    const bool mayBePage = pair.furniture().isHigherThanToolbars(std::min(pair.a().height, b.height));
    const FramePair where = pair.isForeground() ? pair : mayBePage ? pair.withoutFurniture() : pair.withBarsAlone();
    struct Row {
        std::int64_t at;
        CellMask counted;
    };
    std::vector<Row> all, some; // that hold anything
    std::int64_t cells = 0, cellsOfSome = 0;
    for (std::int64_t row = e.first; row < e.last; ++row)
        if (const CellMask counted = b.informed[static_cast<std::size_t>(row)] & ~pair.ignoredInB(row)) {
            all.push_back({row, counted});
            cells += std::popcount(counted);
        }
    for (std::size_t i = 0; i < all.size(); i += std::max<std::size_t>(1, all.size() / firstRepeated)) {
        some.push_back(all[i]);
        cellsOfSome += std::popcount(all[i].counted);
    }
    const auto isThere = [&](const std::vector<Row>& wanted, std::int64_t room, const Frame& frame, std::int64_t down) {
        for (const Row& row : wanted)
            if ((room -= countDiffering(b.signature[static_cast<std::size_t>(row.at)],
                                        frame.signature[static_cast<std::size_t>(row.at + down)], pair.tolerance(),
                                        row.counted)) < 0)
                return false;
        return true;
    };
    const auto mayLieAt = [&](const Frame& frame, std::int64_t start) {
        return isThere(some, cellsOfSome / 2, frame, start - e.first) &&
               (pair.isForeground() || isThere(all, cells * (100 - repeatedPercent) / 100, frame, start - e.first));
    };
    const auto blocksAt = [&](const Frame& frame, std::int64_t start) {
        const std::span<const CellMask> ignored = &frame == &b ? where.ignoredInB() : where.ignoredInA();
        BlockComparison there({.a = frame,
                               .b = b,
                               .shift = start - e.first,
                               .first = e.first,
                               .last = e.last,
                               .ignoredInA = ignored,
                               .ignoredInB = pair.ignoredInB(),
                               .areStrokes = pair.isForeground()});
        std::int64_t alike = 0, against = 0;
        for (const Band& band : there.bands()) {
            alike += band.count(Block::alike);
            against += band.against();
        }
        return std::pair(alike, against);
    };
    std::optional<std::int64_t> againstHere; // asked for only where the rows may lie elsewhere
    const auto liesAt = [&](const Frame& frame, std::int64_t start) {
        if (!againstHere)
            againstHere = blocksAt(pair.a(), e.first + e.shift).second;
        const auto [alike, against] = blocksAt(frame, start);
        return alike * 10 >= e.agreeing * 9 && against <= std::max(alike / repeatedRoom, *againstHere);
    };
    for (const Frame* frame : {&pair.a(), &b}) {
        const std::int64_t own = frame == &b ? e.first : e.first + e.shift;
        for (std::int64_t start = 0; start + rows <= frame->height; ++start)
            if (std::abs(start - own) > rows / 2 + onePlace && mayLieAt(*frame, start) && liesAt(*frame, start))
                return true;
    }
    return false;
}

bool mayHaveCrept(const FramePair& pair, const Examination& e, std::int64_t few) {
    const FramePair bare = pair.withBarsAlone();
    std::vector<RowAgreement> rows;
    const std::int64_t height = std::min(pair.a().height, pair.b().height);
    const auto isMuch = [&](const Stretch& stretch) { return (stretch.last - stretch.first) * muchShare >= height; };
    const auto explainsAll = [](const Stretch& stretch) {
        return stretch.contradicting * explainedShare <= stretch.agreeing;
    };
    const Stretch place = stretchAt(bare, e.shift, rows);
    const auto isCleaner = [&](const Stretch& other) { // than that, by much
        return isMuch(place) &&
               place.contradicting * muchCleaner * other.agreeing < other.contradicting * place.agreeing;
    };
    for (const Stretch& sampled : sampledStretches(bare, few)) {
        if (sampled.shift == e.shift || sampled.contradicting * explainedShare > 2 * sampled.agreeing)
            continue;
        const Stretch stretch = stretchAt(bare, sampled.shift, rows);
        if (explainsAll(stretch) && isMuch(stretch) && stretch.score() > place.score() && !isCleaner(stretch))
            return true;
    }
    if (std::abs(e.shift) > strokesReach * few)
        return false;
    if (e.against() > 0 && std::abs(e.shift) <= few && pixelDifference(bare, e, 0) < pixelDifference(bare, e, e.shift))
        return true; // it did not move, and something on it changed
    const double difference = pixelDifference(pair, e, e.shift);
    for (std::int64_t small = 1; small <= few; ++small)
        for (const std::int64_t other : {small, -small})
            if (std::abs(other - e.shift) > onePlace && pixelDifference(pair, e, other) < difference)
                return true;
    return false;
}

} // namespace orbelquist
