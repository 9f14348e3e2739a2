#include "Orbelquist/PairMatcher.hpp"

#include "Orbelquist/Bounds.hpp"
#include "Orbelquist/Brightness.hpp"
#include "Orbelquist/Candidates.hpp"
#include "Orbelquist/Decision.hpp"
#include "Orbelquist/Places.hpp"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <utility>
#include <vector>

namespace orbelquist {

namespace {

/// Levels by which cells of equal content may differ: what lossy coding does to the mean of a cell.
constexpr std::uint8_t cellTolerance = 4;
/// Of softened frames, a row of which lies between two of the other, by twice that.
constexpr std::uint8_t softTolerance = 2 * cellTolerance;

/// Only where like blocks differ by so much of their variance, or fewer are like than are unclear, does it help to
/// soften the frames: by half a row or more.
constexpr double leastBlur = 0.04;
/// Softened digits look alike: there more must agree, in blocks, and two more for each that contradicts.
constexpr std::int64_t leastSoftAgreement = 50;

/// The pair without rows at the edges of its screens; nothing where these are known, or no place for the rest.
std::optional<KSVPatternPair> matchWithoutEdges(const FramePair& pair, const ScreenEdges& ofA, const ScreenEdges& ofB) {
    if (const auto rest = pair.withoutEdges(ofA, ofB))
        if (KSVPatternPair answer = decide(*rest); answer.verdict.kind == KSVVerdict::Kind::matched)
            return answer;
    return std::nullopt;
}

/// The pair without panes that change while they stand still.
std::optional<KSVPatternPair> matchBesidePanes(const FramePair& pair) {
    const ScreenEdges panes = panesBetween(pair.a(), pair.b(), pair.furniture(), pair.tolerance());
    return matchWithoutEdges(pair, panes, panes);
}

/// The pair without a keyboard or the like that only one of the screens shows at its bottom, where the best stretch of
/// rows ends. The rest must be more than a few lines, and hardly anything may contradict it.
std::optional<KSVPatternPair> matchAboveSheet(const FramePair& pair) {
    const std::optional<Stretch> best = bestOf(pair, sampledStretches(pair));
    if (!best || best->agreeing < fewLines || !isHardlyContradicted(best->agreeing, best->contradicting))
        return std::nullopt;
    const bool isFirst = best->shift > 0; // whose screen lies further up
    const ScreenEdges sheet{.bottom = isFirst ? sheetRows(pair.a(), best->last + best->shift)
                                              : sheetRows(pair.b(), best->last)};
    if (sheet.bottom == 0)
        return std::nullopt;
    auto answer = isFirst ? matchWithoutEdges(pair, sheet, {}) : matchWithoutEdges(pair, {}, sheet);
    const bool isSure = answer && answer->verdict.agreeing >= fewLines &&
                        isHardlyContradicted(answer->verdict.agreeing, answer->verdict.contradicting);
    return isSure ? answer : std::nullopt;
}

/// The pair as of a page whose lines recur and that moved by a multiple of their distance, so that it stands still but
/// for what tells one line from another; nothing where it is none. Bars contradict it, and little else may. Where more
/// stands still than bars take, it may be open by how much such a page moved, whatever else would tell.
std::optional<KSVPatternPair> matchRecurring(const FramePair& pair) {
    if (!standsStillMostly(pair.a(), pair.b(), pair.furniture()))
        return std::nullopt;
    KSVPatternPair answer = decide(pair.withoutFurniture());
    const KSVVerdict& verdict = answer.verdict;
    const bool isPlain = isHardlyContradicted(verdict.agreeing, verdict.contradicting);
    const bool mayBePage = pair.furniture().isHigherThanToolbars(std::min(pair.a().height, pair.b().height));
    if ((verdict.kind == KSVVerdict::Kind::matched && isPlain) || (verdict.kind == KSVVerdict::Kind::open && mayBePage))
        return answer;
    return std::nullopt;
}

/// The pair as of a page before a picture that stands still; nothing where there is none, or no place before it.
std::optional<KSVPatternPair> matchBeforeBackdrop(const FramePair& pair, std::span<const Frame* const> neighbours) {
    if (const auto before = pair.withBackdrop(neighbours))
        if (KSVPatternPair answer = decide(*before); !findsNothing(answer.verdict))
            return answer;
    return std::nullopt;
}

/// The pair as of strokes. Those of a page that moved by less than two lines of text lie on themselves in part, and
/// what is left fits some rows off: there nothing is told.
std::optional<KSVPatternPair> matchStrokes(const FramePair& strokes, const FramePair& shown) {
    KSVPatternPair answer = decide(strokes, 0, shown);
    const bool isOnItself = std::abs(answer.verdict.offset) <= std::max(onePlace, nearbyStrokes * strokeOf(shown));
    if (answer.verdict.kind != KSVVerdict::Kind::matched || isOnItself)
        return std::nullopt;
    return answer;
}

/// The pair as of strokes before a photograph that stands still.
std::optional<KSVPatternPair> matchBeforePhotograph(const FramePair& pair) {
    const auto foreground = foregroundOf(pair.a(), pair.b(), pair.tolerance());
    return foreground ? matchStrokes(pair.withForeground(*foreground), pair) : std::nullopt;
}

/// The place of the best stretch of rows, examined.
std::optional<Examination> bestPlaceOf(const FramePair& pair) {
    const auto best = bestOf(pair, sampledStretches(pair));
    return best ? examine(pair, best->shift) : std::nullopt;
}

/// The pair softened, where that helps, and where the best stretch of rows agrees enough.
std::optional<KSVPatternPair> matchSoftened(const FramePair& pair) {
    const Frame softA = softened(pair.a()), softB = softened(pair.b());
    const FramePair softPair(softA, softB, softTolerance);
    const auto isMuch = [](std::int64_t agreeing, std::int64_t contradicting) {
        return agreeing >= leastSoftAgreement + 2 * contradicting;
    };
    const auto best = bestPlaceOf(softPair);
    if (!best || !isMuch(best->agreeing, best->against()))
        return std::nullopt;
    KSVPatternPair soft = decide(softPair, leastSoftAgreement, pair);
    const KSVVerdict& verdict = soft.verdict;
    if (verdict.kind != KSVVerdict::Kind::matched || std::abs(verdict.offset) <= onePlace || // bars, softened
        !isMuch(verdict.agreeing, verdict.contradicting))
        return std::nullopt;
    const auto sharp = examine(pair, verdict.offset);
    const bool isBlurred = sharp && (sharp->difference > leastBlur || sharp->unclear > sharp->agreeing);
    return isBlurred ? std::optional(soft) : std::nullopt;
}

/// The pair as of strokes on whatever ground: bubbles that take their colour from where they lie on the screen, a
/// picture behind the page that moves by less than the page. Where the best stretch of rows is not sure, no other place
/// is looked at.
std::optional<KSVPatternPair> matchOnAnyGround(const FramePair& pair) {
    const auto foreground = strokesOf(pair.a(), pair.b());
    if (!foreground)
        return std::nullopt;
    const FramePair strokes = pair.withForeground(*foreground);
    const auto e = bestPlaceOf(strokes);
    auto answer = e && isSureOnAnyGround(*e) ? matchStrokes(strokes, pair) : std::nullopt;
    return answer && std::abs(answer->verdict.offset - e->shift) <= onePlace ? answer : std::nullopt;
}

/// Of frames of one brightness.
KSVPatternPair matchAlike(const Frame& a, const Frame& b) {
    const FramePair pair(a, b, cellTolerance);
    if (auto recurring = matchRecurring(pair))
        return *std::move(recurring);
    KSVPatternPair sharp = decide(pair);
    if (sharp.verdict.valid())
        return sharp;
    if (findsNothing(sharp.verdict))
        if (auto beside = matchBesidePanes(pair))
            return *std::move(beside);
    if (auto before = matchBeforeBackdrop(pair, {}))
        return *std::move(before);
    if (!findsNothing(sharp.verdict) || sharp.verdict.kind == KSVVerdict::Kind::repeated)
        return sharp;
    for (const auto way : {matchBeforePhotograph, matchAboveSheet, matchSoftened, matchOnAnyGround})
        if (auto answer = way(pair))
            return *std::move(answer);
    return sharp;
}

/// Of frames of which one was dimmed: the one with more contrast is given the other's levels. Nothing where that does
/// not make them match, in their signatures, too: a block has dozens of cells, and at least one of them must be the
/// same.
std::optional<KSVPatternPair> matchDimmed(const Frame& a, const Frame& b, const Dimming& dimming) {
    const bool isOfA = dimming.factor <= 1;
    const Frame given = isOfA ? dimmed(a, dimming) : dimmed(b, inverse(dimming));
    const Frame &first = isOfA ? given : a, &second = isOfA ? b : given;
    const FramePair pair(first, second, cellTolerance);
    KSVPatternPair answer = decide(pair);
    if (answer.verdict.kind == KSVVerdict::Kind::sameView)
        return answer;
    std::vector<RowAgreement> rows;
    if (answer.verdict.kind != KSVVerdict::Kind::matched ||
        stretchAt(pair, answer.verdict.offset, rows).agreeing < answer.verdict.agreeing)
        return std::nullopt;
    return answer;
}

} // namespace

bool findsNothing(const KSVVerdict& verdict) {
    using Kind = KSVVerdict::Kind;
    return verdict.kind == Kind::contradicted || verdict.kind == Kind::nothingCommon || verdict.kind == Kind::repeated;
}

KSVPatternPair matchFrames(const Frame& a, const Frame& b) {
    if (a.height == 0 || b.height == 0)
        return {.verdict = {.kind = KSVVerdict::Kind::nothingCommon}};
    if (a.width != b.width || a.width == 0)
        return {.verdict = {.kind = KSVVerdict::Kind::otherWidth}};
    if (const auto dimming = dimmingBetween(a, b))
        if (auto answer = matchDimmed(a, b, *dimming))
            return *std::move(answer);
    if (const auto spreading = spreadingOf(a, b))
        return matchAlike(dimmed(a, *spreading), dimmed(b, *spreading));
    return matchAlike(a, b);
}

std::optional<KSVPatternPair> matchAmong(const Frame& a, const Frame& b, std::span<const Frame* const> neighbours) {
    const FramePair pair(a, b, cellTolerance);
    const auto barsOf = [&](const Frame& frame) { return barsAmong(frame, neighbours, cellTolerance); };
    if (auto apart = matchWithoutEdges(pair, barsOf(a), barsOf(b)))
        return apart;
    return matchBeforeBackdrop(pair, neighbours);
}

std::optional<KSVPatternPair> matchAt(const Frame& a, const Frame& b, std::int64_t shift) {
    constexpr std::int64_t mostContradicting = 16; // blocks, where nothing agrees
    constexpr std::int64_t contradictingShare = 8; // of blocks that agree
    const FramePair pair(a, b, cellTolerance);
    Examination e{.shift = shift, .first = pair.firstPageRow(shift), .last = pair.lastPageRow(shift)};
    if (shift == 0 || e.last - e.first < leastOverlap)
        return std::nullopt;
    if (const auto seen = examine(pair, shift)) {
        if (seen->against() * contradictingShare > seen->agreeing)
            return std::nullopt;
        e = *seen;
    } else {
        BlockComparison comparison(pair.layout(shift));
        std::int64_t against = 0;
        for (const Band& band : comparison.bands())
            against += band.against();
        if (against > mostContradicting)
            return std::nullopt;
    }
    return joinedAt(e, verdictOn(e, KSVVerdict::Kind::byNeighbours, pair), pair);
}

PairView viewOf(const Frame& a, const Frame& b, std::int64_t shift) {
    const FramePair pair(a, b, cellTolerance);
    PairView view{.patches = {}, .scores = {}, .still = pair.furniture().cells};
    for (const Stretch& stretch : sampledStretches(pair))
        view.scores.push_back({stretch.shift, stretch.score()});
    BlockComparison comparison(pair.layout(shift));
    comparison.findCovered();
    for (std::size_t i = 0; i < comparison.bands().size(); ++i)
        for (std::size_t k = 0; k < blocksAcross; ++k)
            view.patches.push_back({comparison.columnOf(k), comparison.rowOf(i), comparison.columnOf(k + 1),
                                    comparison.endOf(i), comparison.bands()[i].at(k)});
    return view;
}

} // namespace orbelquist
