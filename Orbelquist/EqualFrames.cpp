#include "Orbelquist/EqualFrames.hpp"

#include "Orbelquist/Seam.hpp"
#include "Orbelquist/SomeRows.hpp"

#include <algorithm>
#include <bit>
#include <vector>

namespace orbelquist {

namespace {

/// Of a view's height, the part at each end that bars may take: where all stands still they cannot be told from the
/// page.
constexpr std::int64_t barShare = 6;

/// Cells that differ in two shots of one view (a clock, a caret, a badge): at most one of this many that carry
/// information.
constexpr std::int64_t changedShare = 50;

/// A tall picture that begins with what the other shows: one of this many cells may differ before another place is
/// thinkable.
constexpr std::int64_t beginsAlikeShare = 3;

/// So many rows tell first whether a shift may explain half of the changes at all: most do not.
constexpr std::int64_t firstRows = 128;

/// Rows of content that pin a view: at least one of this many of its height.
constexpr std::int64_t pinningShare = 100;

} // namespace

std::optional<KSVPatternPair> equalFrames(const FramePair& pair) {
    const Frame& a = pair.a().height < pair.b().height ? pair.a() : pair.b(); // the view; the other may go on below it
    const Frame& b = &a == &pair.a() ? pair.b() : pair.a();
    const std::int64_t bar = a.height / barShare;
    const bool goesOn = b.height > a.height;
    std::int64_t informed = 0, differing = 0;
    // A picture that goes on shows no bottom bar where the shorter one ends.
    for (std::size_t y = 0; y < static_cast<std::size_t>(goesOn ? a.height - bar : a.height); ++y) {
        informed += std::popcount(a.informed[y] | b.informed[y]);
        differing += countDiffering(a.signature[y], b.signature[y], pair.tolerance(), ~CellMask{0});
    }
    if (goesOn && differing * beginsAlikeShare > informed)
        return std::nullopt;
    if (differing * changedShare > informed)
        return goesOn ? std::optional(KSVPatternPair{.verdict = {.kind = KSVVerdict::Kind::unpinnedView}})
                      : std::nullopt;

    // The view against itself, without what may be bars: where it changes from one row to the next, and how many of
    // these changes another shift explains as well.
    const auto equalAt = [&](std::int64_t y, std::int64_t z) {
        return equalCells(a.signature[static_cast<std::size_t>(y)], a.signature[static_cast<std::size_t>(z)],
                          pair.tolerance()) == ~CellMask{0};
    };
    std::vector<bool> changes(a.signature.size());
    std::vector<std::int64_t> changed; // these rows
    for (std::int64_t y = bar + 1; y < a.height - bar; ++y)
        if (!equalAt(y - 1, y)) {
            changes[static_cast<std::size_t>(y)] = true;
            changed.push_back(y);
        }
    const std::int64_t total = std::ssize(changed);
    if (total * pinningShare < a.height)
        return KSVPatternPair{.verdict = {.kind = KSVVerdict::Kind::unpinnedView}};
    for (std::int64_t shift = 1; shift < a.height - 2 * bar; ++shift) {
        std::int64_t explained = 0, seen = 0;
        const auto look = [&](std::int64_t y) {
            if (!changes[static_cast<std::size_t>(y)] && !changes[static_cast<std::size_t>(y + shift)])
                return;
            ++seen;
            explained += equalAt(y, y + shift) && equalAt(y - 1, y - 1 + shift);
        };
        const std::int64_t last = a.height - bar - shift;
        visitSome(bar + 1, last, firstRows, look);
        if (explained * 4 < seen)
            continue;
        explained = seen = 0;
        for (const std::int64_t y : changed) {
            if (y < last)
                look(y);
            if (y - shift > bar && !changes[static_cast<std::size_t>(y - shift)])
                look(y - shift);
        }
        if (seen * 4 >= total && explained * 2 > seen)
            return KSVPatternPair{.verdict = {.kind = KSVVerdict::Kind::unpinnedView}};
    }
    const std::int64_t rows = std::clamp<std::int64_t>(a.height - 2 * bar, 1, seamRows);
    std::int64_t first = bar; // of the first band of rows that are equal, where there is one
    for (std::int64_t row = bar, equal = 0; row < a.height - bar && equal < rows; ++row) {
        const auto y = static_cast<std::size_t>(row);
        equal = countDiffering(a.signature[y], b.signature[y], pair.tolerance(), ~CellMask{0}) == 0 ? equal + 1 : 0;
        if (equal == rows)
            first = row + 1 - rows;
    }
    const KSVPattern pinned(0, first, rows);
    return KSVPatternPair{pinned, pinned, {.kind = KSVVerdict::Kind::sameView, .rows = a.height - 2 * bar}};
}

} // namespace orbelquist
