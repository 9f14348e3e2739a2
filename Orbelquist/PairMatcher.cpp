#include "Orbelquist/PairMatcher.hpp"

#include "Orbelquist/Bounds.hpp"
#include "Orbelquist/Brightness.hpp"
#include "Orbelquist/Candidates.hpp"
#include "Orbelquist/Doubts.hpp"
#include "Orbelquist/EqualFrames.hpp"
#include "Orbelquist/ExactShift.hpp"
#include "Orbelquist/Places.hpp"
#include "Orbelquist/Seam.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <span>
#include <vector>

namespace orbelquist {

namespace {

/// Levels by which cells of equal content may differ: what lossy coding does to the mean of a cell.
constexpr std::uint8_t cellTolerance = 4;
/// Of softened frames, a row of which lies between two of the other, by twice that.
constexpr std::uint8_t softTolerance = 2 * cellTolerance;

/// Another place that holds leaves the offset open when what agrees there less what does not is more than this part, in
/// percent, of the same at the best; at a place within two lines of text, so many strokes, which have more in common
/// with it, more than that.
constexpr std::int64_t secondElsewhere = 30, secondNearby = 40, nearbyStrokes = 4;
/// Or when it has more than this part, in percent, of the best's agreement, if what covers it were films and overlays;
/// less is enough where more than one of so many blocks contradicts the best one.
constexpr std::int64_t secondAtItsBest = 70, secondToDoubtful = 50, doubtfulShare = 4;
/// So does a place that is refused and has more than this part, in percent, at its best, where anything contradicts the
/// best one: a page that repeats may be covered at its true place.
constexpr std::int64_t secondRefused = 50;
/// So does a page that nearly repeats: where other text contradicts the best place, another with more than this part,
/// in percent, of its agreement, of which no more than that part is contradicted.
constexpr std::int64_t secondOfRepeating = 75, contradictedOfRepeating = 40;
/// Within a stroke's length the place whose pixels differ least is the one, if they differ by so many times as much at
/// the others, or if these have less than this part, in percent, of its agreement.
constexpr double clearlyMore = 1.5;
constexpr std::int64_t secondWithinStroke = 90;

/// Where so many bands of the screen, the height of a toolbar, are left out of account as bars of one frame or as
/// regions that change, they are left out at the other places, too: what hides the page here may hide it there. Or it
/// may be page there: then none has more than this part, in percent, of the best's agreement once what contradicts
/// there is taken off, twice where the best one agrees over much of the screen.
constexpr std::int64_t muchLeftOut = 6, secondWhereMuchIsLeftOut = 50;

/// Only where like blocks differ by so much of their variance, or fewer are like than are unclear, does it help to
/// soften the frames: by half a row or more.
constexpr double leastBlur = 0.04;
/// Softened digits look alike: there more must agree, in blocks, and two more for each that contradicts.
constexpr std::int64_t leastSoftAgreement = 50;

/// A place that nothing contradicts is told from others of a page that repeats where of as many blocks as agree so many
/// would be other text there.
constexpr std::int64_t tellingBlocks = 20;
/// Where lines recur and moved by a multiple of their distance, no more than one of so many blocks contradicts.
constexpr std::int64_t recurringShare = 20;

KSVVerdict verdictOn(const Examination& e, KSVVerdict::Kind kind, const FramePair& pair) {
    return {.kind = kind,
            .offset = e.shift,
            .rows = e.last - e.first,
            .agreeing = e.agreeing,
            .contradicting = e.against(),
            .topBar = pair.furniture().topRows,
            .bottomBar = pair.furniture().bottomRows};
}

/// The answer of a pair that lies at the shift examined: the seam in the direction that the page moved.
KSVPatternPair joinedAt(const Examination& e, const KSVVerdict& verdict, const FramePair& pair) {
    const KSVPattern pattern = seamAt(pair, e);
    return e.shift > 0 ? KSVPatternPair{pattern, {}, verdict} : KSVPatternPair{{}, pattern, verdict};
}

/// Whether a place is told from another of a page that repeats: nothing contradicts it, though at the other's rate much
/// would, so that what tells one line from the next agrees.
bool isToldFrom(const Examination& place, const Examination& other) {
    return place.against() == 0 && place.unclear * 4 <= place.agreeing &&
           (other.inside.shapes + other.overlay.shapes) * place.agreeing >= tellingBlocks * other.agreeing;
}

/// `leastAlike`: blocks that must agree. The seam is that of the frames that are shown.
KSVPatternPair match(const FramePair& pair, std::int64_t leastAlike, const FramePair& shown) {
    using Kind = KSVVerdict::Kind;
    if (const auto equal = equalFrames(pair))
        return *equal;

    Places places = examinePlaces(pair, leastAlike);
    auto& [held, refused, likeliest] = places;
    auto best = std::ranges::max_element(held, {}, &Examination::evidence);
    for (auto place = held.begin(); place != held.end(); ++place)
        if (isToldFrom(*place, *best))
            best = place;
    if (best == held.end())
        return {.verdict = likeliest ? verdictOn(*likeliest, Kind::contradicted, pair)
                                     : KSVVerdict{.kind = Kind::nothingCommon}};

    const std::int64_t stroke = strokeOf(pair);
    const auto isWithinStroke = [&](const Examination& e) { return std::abs(e.shift - best->shift) <= stroke; };
    const auto differs = [&](const Examination& e) { return pixelDifference(pair, *best, e.shift); };
    auto exact = std::ranges::min_element(held, {}, [&](const Examination& e) {
        return isWithinStroke(e) ? differs(e) : std::numeric_limits<double>::max();
    });
    const std::int64_t second =
        exact->against() * doubtfulShare > exact->evidence() ? secondToDoubtful : secondAtItsBest;
    const auto isRival = [&](const Examination& other) {
        if (std::abs(other.shift - exact->shift) <= onePlace || isToldFrom(*exact, other))
            return false;
        if (isWithinStroke(other))
            return other.evidence() * 100 > exact->evidence() * secondWithinStroke &&
                   differs(other) < differs(*exact) * clearlyMore + 1;
        const bool isNearby = std::abs(other.shift - exact->shift) <= nearbyStrokes * stroke;
        return other.net() * 100 > std::min(best->net(), exact->net()) * (isNearby ? secondNearby : secondElsewhere) ||
               other.atBest() * 100 > best->atBest() * second;
    };
    const auto openTo = [&](const Examination& other) {
        KSVVerdict verdict = verdictOn(*exact, Kind::open, pair);
        verdict.otherOffset = other.shift;
        return KSVPatternPair{.verdict = verdict};
    };
    if (const auto rival = std::ranges::find_if(held, isRival); rival != held.end())
        return openTo(*rival);
    const auto mayBeIt = [&](const Examination& other) {
        if (isToldFrom(*exact, other))
            return false;
        return other.atBest() > exact->evidence() ||
               (exact->against() > 0 && !isWithinStroke(other) &&
                other.atBest() * 100 > exact->atBest() * secondRefused) ||
               (other.against() == 0 && !isWithinStroke(other) && isRival(other));
    };
    if (const auto other = std::ranges::find_if(refused, mayBeIt); other != refused.end())
        return openTo(*other);
    if (exact->explained.barBands + exact->explained.regionBands >= muchLeftOut) {
        const FramePair rest = pair.withoutRows(exact->explained.leftOut, exact->shift);
        const std::int64_t price = exact->agreeingBands >= manyBands ? 2 : 1;
        const auto isPageThere = [&](const Examination& other) { // what is left out here
            return (other.evidence() - price * other.against()) * 100 > exact->evidence() * secondWhereMuchIsLeftOut;
        };
        const auto isRivalInRest = [&](const Examination& other) {
            const auto e = examine(rest, other.shift);
            return e && isRival(*e);
        };
        for (const auto* others : {&held, &refused})
            for (const Examination& other : *others)
                if (!isWithinStroke(other) && !isToldFrom(*exact, other) &&
                    (isPageThere(other) || isRivalInRest(other)))
                    return openTo(other);
    }
    if (isRepeated(pair, *exact))
        return {.verdict = verdictOn(*exact, Kind::repeated, pair)};
    if (mayHaveCrept(pair, *exact, std::max(onePlace, 2 * stroke)))
        return {.verdict = verdictOn(*exact, Kind::crept, pair)};

    KSVVerdict verdict = verdictOn(*exact, Kind::matched, pair);
    for (const Examination& other : held)
        if (!isWithinStroke(other) && other.net() > verdict.runnerUp) {
            verdict.runnerUp = other.net();
            verdict.otherOffset = other.shift;
        }
    if (const std::int64_t shift = exactShift(pair, *exact); shift != exact->shift)
        if (const auto moved = examine(pair, shift)) {
            if (!holds(*moved, pair, true))
                return {.verdict = verdictOn(*moved, Kind::contradicted, pair)};
            *exact = *moved;
        }
    // What is left out as a picture may be a line's blank ends, and they tell the row.
    if (pair.hasBackdrop() && exactShift(pair.withoutBackdrop(), *exact) != exact->shift)
        return {.verdict = verdictOn(*exact, Kind::contradicted, pair)};
    const auto mayRepeat = [&](const Examination& other) {
        return !isWithinStroke(other) && other.evidence() * 100 > exact->evidence() * secondOfRepeating &&
               other.against() * 100 <= other.evidence() * contradictedOfRepeating;
    };
    if (exact->inside.shapes + exact->overlay.shapes > 0)
        for (const auto* others : {&held, &refused})
            if (const auto other = std::ranges::find_if(*others, mayRepeat); other != others->end())
                return openTo(*other);
    verdict.offset = exact->shift;
    return joinedAt(*exact, verdict, shown);
}

KSVPatternPair match(const FramePair& pair, std::int64_t leastAlike) {
    return match(pair, leastAlike, pair);
}

/// The pair without rows at the edges of its screens; nothing where these are known, or no place for the rest.
std::optional<KSVPatternPair> matchWithoutEdges(const FramePair& pair, const ScreenEdges& ofA, const ScreenEdges& ofB) {
    if (const auto rest = pair.withoutEdges(ofA, ofB))
        if (KSVPatternPair answer = match(*rest, 0); answer.verdict.kind == KSVVerdict::Kind::matched)
            return answer;
    return std::nullopt;
}

/// The pair without panes that change while they stand still.
std::optional<KSVPatternPair> matchBesidePanes(const FramePair& pair) {
    const ScreenEdges panes = panesBetween(pair.a(), pair.b(), pair.furniture(), pair.tolerance());
    return matchWithoutEdges(pair, panes, panes);
}

/// The pair as of a page whose lines recur and that moved by a multiple of their distance, so that it stands still but
/// for what tells one line from another; nothing where it is none. Bars contradict it, and little else may. Where more
/// stands still than bars take, it may be open by how much such a page moved, whatever else would tell.
std::optional<KSVPatternPair> matchRecurring(const FramePair& pair) {
    if (!standsStillMostly(pair.a(), pair.b(), pair.furniture()))
        return std::nullopt;
    KSVPatternPair answer = match(pair.withoutFurniture(), 0);
    const KSVVerdict& verdict = answer.verdict;
    const bool isPlain = verdict.contradicting * recurringShare <= verdict.agreeing;
    const Furniture& furniture = pair.furniture();
    const bool isNoBar = std::max(furniture.topRows, furniture.bottomRows) * tallestToolbars >
                         std::min(pair.a().height, pair.b().height);
    if ((verdict.kind == KSVVerdict::Kind::matched && isPlain) || (verdict.kind == KSVVerdict::Kind::open && isNoBar))
        return answer;
    return std::nullopt;
}

/// The pair as of a page before a picture that stands still; nothing where there is none, or no place before it.
std::optional<KSVPatternPair> matchBeforeBackdrop(const FramePair& pair, std::span<const Frame* const> neighbours) {
    if (const auto before = pair.withBackdrop(neighbours))
        if (KSVPatternPair answer = match(*before, 0); !findsNothing(answer.verdict))
            return answer;
    return std::nullopt;
}

/// The pair as of strokes before a photograph that stands still. Those of a page that moved by less than two lines of
/// text lie on themselves in part, and what is left fits some rows off: there nothing is told.
std::optional<KSVPatternPair> matchBeforePhotograph(const FramePair& pair) {
    const auto foreground = foregroundOf(pair.a(), pair.b(), pair.tolerance());
    if (!foreground)
        return std::nullopt;
    KSVPatternPair answer = match(pair.withForeground(*foreground), 0, pair);
    const bool isOnItself = std::abs(answer.verdict.offset) <= std::max(onePlace, nearbyStrokes * strokeOf(pair));
    if (answer.verdict.kind != KSVVerdict::Kind::matched || isOnItself)
        return std::nullopt;
    return answer;
}

/// Of frames of one brightness.
KSVPatternPair matchAlike(const Frame& a, const Frame& b) {
    const FramePair pair(a, b, cellTolerance);
    if (auto recurring = matchRecurring(pair))
        return *std::move(recurring);
    KSVPatternPair sharp = match(pair, 0);
    if (sharp.verdict.valid())
        return sharp;
    if (findsNothing(sharp.verdict))
        if (auto beside = matchBesidePanes(pair))
            return *std::move(beside);
    if (auto before = matchBeforeBackdrop(pair, {}))
        return *std::move(before);
    if (!findsNothing(sharp.verdict) || sharp.verdict.kind == KSVVerdict::Kind::repeated)
        return sharp;
    if (auto before = matchBeforePhotograph(pair))
        return *std::move(before);
    const Frame softA = softened(a), softB = softened(b);
    KSVPatternPair soft = match(FramePair(softA, softB, softTolerance), leastSoftAgreement);
    const KSVVerdict& verdict = soft.verdict;
    if (verdict.kind != KSVVerdict::Kind::matched || std::abs(verdict.offset) <= onePlace || // bars, softened
        verdict.agreeing < leastSoftAgreement + 2 * verdict.contradicting)
        return sharp;
    const auto examined = examine(pair, verdict.offset);
    const bool isBlurred = examined && (examined->difference > leastBlur || examined->unclear > examined->agreeing);
    return isBlurred ? soft : sharp;
}

/// Of frames of which one was dimmed: the one with more contrast is given the other's levels. Nothing where that does
/// not make them match, in their signatures, too: a block has dozens of cells, and at least one of them must be the
/// same.
std::optional<KSVPatternPair> matchDimmed(const Frame& a, const Frame& b, const Dimming& dimming) {
    const bool isOfA = dimming.factor <= 1;
    const Frame given = isOfA ? dimmed(a, dimming) : dimmed(b, inverse(dimming));
    const Frame &first = isOfA ? given : a, &second = isOfA ? b : given;
    const FramePair pair(first, second, cellTolerance);
    KSVPatternPair answer = match(pair, 0);
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
    constexpr std::int64_t hardlyShare = 8;        // of blocks that agree
    const FramePair pair(a, b, cellTolerance);
    Examination e{.shift = shift, .first = pair.firstPageRow(shift), .last = pair.lastPageRow(shift)};
    if (shift == 0 || e.last - e.first < leastOverlap)
        return std::nullopt;
    if (const auto seen = examine(pair, shift)) {
        if (seen->against() * hardlyShare > seen->agreeing)
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
