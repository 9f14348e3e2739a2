#include "Orbelquist/Decision.hpp"

#include "Orbelquist/Bounds.hpp"
#include "Orbelquist/Candidates.hpp"
#include "Orbelquist/Doubts.hpp"
#include "Orbelquist/EqualFrames.hpp"
#include "Orbelquist/ExactShift.hpp"
#include "Orbelquist/Places.hpp"
#include "Orbelquist/Seam.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace orbelquist {

namespace {

/// Another place that holds leaves the offset open when what agrees there less what does not is more than this part, in
/// percent, of the same at the best; at a place within two lines of text, which has more in common with it, more than
/// that.
constexpr std::int64_t secondElsewhere = 30, secondNearby = 40;
/// Or when it has more than this part, in percent, of the best's agreement, if what covers it were films and overlays;
/// less is enough where more than one of so many blocks contradicts the best one.
constexpr std::int64_t secondAtItsBest = 70, secondToDoubtful = 50, doubtfulShare = 4;
/// Or when nothing contradicts it and its evidence is more than this part, in percent, of the best's.
constexpr std::int64_t secondUncontradicted = 75;
/// So does a place that is refused and has more than this part, in percent, at its best, where anything contradicts the
/// best one, bars hide more than agrees there, or hardly anything contradicts this one: a page that repeats may be
/// covered at its true place.
constexpr std::int64_t secondRefused = 50;
/// So does a page that nearly repeats: where other text contradicts the best place, another with more than so many
/// percent of its agreement, of which no more than so many percent are contradicted.
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

/// A place that nothing contradicts is told from others of a page that repeats where of as many blocks as agree so many
/// would be other text there.
constexpr std::int64_t tellingBlocks = 20;

/// Whether a place is told from another of a page that repeats: nothing contradicts it, though at the other's rate much
/// would, so that what tells one line from the next agrees.
bool isToldFrom(const Examination& place, const Examination& other) {
    return place.against() == 0 && place.unclear * 4 <= place.agreeing &&
           (other.inside.shapes + other.overlay.shapes) * place.agreeing >= tellingBlocks * other.agreeing;
}

} // namespace

KSVVerdict verdictOn(const Examination& e, KSVVerdict::Kind kind, const FramePair& pair) {
    return {.kind = kind,
            .offset = e.shift,
            .rows = e.last - e.first,
            .agreeing = e.agreeing,
            .contradicting = e.against(),
            .topBar = pair.furniture().topRows,
            .bottomBar = pair.furniture().bottomRows};
}

KSVPatternPair joinedAt(const Examination& e, const KSVVerdict& verdict, const FramePair& pair) {
    const KSVPattern pattern = seamAt(pair, e);
    return e.shift > 0 ? KSVPatternPair{pattern, {}, verdict} : KSVPatternPair{{}, pattern, verdict};
}

KSVPatternPair decide(const FramePair& pair, std::int64_t leastAlike, const FramePair& shown) {
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
        return isWithinStroke(e) ? differs(e) : std::numeric_limits<double>::infinity();
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
               other.atBest() * 100 > best->atBest() * second ||
               (other.against() == 0 && other.evidence() * 100 > exact->evidence() * secondUncontradicted);
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
               ((exact->against() > 0 || exact->net() <= 0 || isHardlyContradicted(other.agreeing, other.against())) &&
                !isWithinStroke(other) && other.atBest() * 100 > exact->atBest() * secondRefused) ||
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

    if (const std::int64_t shift = exactShift(pair, *exact); shift != exact->shift) {
        const auto moved = examine(pair, shift);
        if (!moved || !holds(*moved, pair, true)) // there are no rivals
            return {.verdict = verdictOn(moved.value_or(*exact), Kind::contradicted, pair)};
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
    KSVVerdict verdict = verdictOn(*exact, Kind::matched, pair);
    for (const Examination& other : held)
        if (!isWithinStroke(other) && other.net() > verdict.runnerUp) {
            verdict.runnerUp = other.net();
            verdict.otherOffset = other.shift;
        }
    return joinedAt(*exact, verdict, shown);
}

} // namespace orbelquist
