#include "Orbelquist/Bounds.hpp"

#include <algorithm>

namespace orbelquist {

namespace {

/// Fewer rows are chance.
constexpr std::int64_t leastRows = 12;
/// At least one of so many blocks that agree is other than the side of a card, which agrees at any row.
constexpr std::int64_t leastPinning = 4;
/// A single line of text is no higher than one of so many parts of the screen.
constexpr std::int64_t lineShare = 24;
/// What hides the page is no more than one of so many blocks that agree, and twice its other shapes; else it is other
/// text.
constexpr std::int64_t coverShare = 6;
/// Where nothing else agrees nearly as much, and more agrees than bars hide, one block of so many may have changed
/// meanwhile, a price or a count: where lines over all of many bands agree, or where the page is seen over one of so
/// many parts of the screen and all that contradicts there lies together.
constexpr std::int64_t changedScreenShare = 8, changedShare = 8, changedTogetherShare = 5;
/// Blocks of bars for each that agrees, at most. Two bars of glass take more of a screen than a small overlap does;
/// that counts once what agrees is more than chance.
constexpr std::int64_t mostBars = 4, mostBarsBeyondDoubt = 12;

/// So few blocks are a line or two, whatever they lie beside.
constexpr std::int64_t lineOrTwo = 40;
/// Blocks beyond a line or two that prove nothing yet; blocks of other text that may lie outside the stretch, and of
/// those that agree for each more.
constexpr std::int64_t fewLetters = 16, changedAtEdge = 4, atEdgeShare = 24;
/// Beside three or four lines, less than bars hide, no more than one of so many blocks that agree contradicts there.
constexpr std::int64_t edgeShare = 4;
/// Where regions that change all through are left out, so many blocks agree, and so many more for two bands of them.
constexpr std::int64_t leastBesideRegion = 60, perTwoBands = 3;
/// Blocks that may be unclear for each of the picture behind the page that is seen, at most; and the part of what
/// agrees that next to nothing is.
constexpr std::int64_t mostUnclear = 5, hardlyShare = 12, hardlyUnclearShare = 8;
/// Blocks of strokes before a photograph that agree, at least, and for each that contradicts; and blocks that agree for
/// each amid the page that is covered where a photograph may lie behind.
constexpr std::int64_t leastStrokes = 60, otherStrokesShare = 8, throughBarShare = 4, coveredPhotographShare = 16;

/// Of what agrees on any ground, this part, in percent, may be unclear: seen in one frame alone. And so many of it
/// agree, at least, for each that contradicts.
constexpr std::int64_t mostInOne = 40, otherOnAnyGround = 8;

/// A line or two may occur twice: nothing else is alike then. What agrees beyond that carries weight.
std::int64_t weightOf(const Examination& e) {
    return std::max<std::int64_t>(0, e.agreeing - noDoubtBelow);
}

/// A few letters, over a quarter of a line of text.
bool isPinned(const Examination& e, std::int64_t height) {
    const std::int64_t pinning = e.agreeing - e.upright;
    return pinning >= leastAgreeing && pinning * leastPinning >= e.agreeing &&
           e.pageRows >= std::max(leastRows, height / (2 * bandsPerScreen));
}

/// No more than that is nothing if anything contradicts.
bool isEnough(const Examination& e, std::int64_t height) {
    if (!isPinned(e, height))
        return false;
    if (weightOf(e) > 0)
        return true;
    const bool isLine = (e.last - e.first) * lineShare <= height;
    return e.inside.all() + e.overlay.all() == 0 && e.unclear * 4 <= e.agreeing &&
           !(isLine && e.edge.shapes + e.beyond.shapes > 1);
}

/// A picture behind the page may agree with itself anywhere: no other shift does nearly as well then, and more than a
/// few letters are the page for certain, or there are many lines that hardly anything contradicts, and a few letters
/// are or hardly anything is unclear. What is unclear is the picture's doing, so no more of it than is seen of that; or
/// than half of what agrees, or all of it where cards cover most of the picture, whose text next to nothing
/// contradicts.
bool isBeforeBackdrop(const Examination& e, const FramePair& pair, bool isAlone) {
    const bool isCovered = pair.isBackdropCovered();
    if (!isAlone ||
        e.unclear > std::max(isCovered ? e.agreeing : e.agreeing / 2, mostUnclear * pair.blocksOfBackdrop()))
        return false;
    const bool isUnclear = e.unclear * 2 > e.agreeing;
    const std::int64_t share = isCovered ? hardlyShare : isUnclear ? 6 : 4;
    if (e.certain >= 2 * leastAgreeing && e.against() * share <= e.certain)
        return true;
    const bool isSure = e.certain >= leastAgreeing || e.unclear * hardlyUnclearShare <= e.agreeing;
    return isSure && e.agreeingBands >= manyBands && e.against() * hardlyShare <= e.agreeing && !isUnclear;
}

/// Before a photograph strokes may be lost, and parts of it taken for strokes: no other shift does nearly as well then,
/// a few lines agree, no more is unclear, and other strokes are few but for those that shine through a bar.
bool isBeforePhotograph(const Examination& e, bool isAlone) {
    return isAlone && e.agreeing >= leastStrokes && e.unclear <= e.agreeing &&
           (e.against() - e.edge.all()) * otherStrokesShare <= e.agreeing &&
           e.edge.all() * throughBarShare <= e.agreeing;
}

/// Other text at the same place is no page that moved: next to none in the stretch, little outside, and next to none
/// there where bars hide more than a few lines that agree.
bool isOtherText(const Examination& e, std::int64_t height, bool isAlone) {
    const bool isCover = e.overlay.covered >= 2 * e.overlay.shapes && e.overlay.all() * coverShare <= e.agreeing;
    const std::int64_t shapes = e.inside.shapes + (isCover ? 0 : e.overlay.shapes);
    const bool liesTogether = e.overlay.all() + e.edge.covered == e.against();
    const bool isSeen = (e.last - e.first) * changedScreenShare >= height;
    const bool mayHaveChanged =
        isAlone && e.net() > 0 &&
        ((e.agreeingBands >= manyBands &&
          (e.inside.shapes + e.overlay.shapes + e.edge.all() + e.beyond.all()) * changedShare <= e.agreeing) ||
         (liesTogether && isSeen && e.overlay.all() * changedTogetherShare <= e.agreeing));
    return (shapes * hardlyShare > std::max<std::int64_t>(0, weightOf(e) - fewLetters) && !mayHaveChanged) ||
           (e.edge.shapes + e.beyond.shapes - changedAtEdge) * atEdgeShare > e.agreeing ||
           (e.net() <= 0 && e.agreeing < fewLines &&
            (e.edge.shapes > changedAtEdge || e.edge.all() * edgeShare > e.agreeing));
}

/// Bars and overlays that are not known as such may take half as much as agrees, buttons as much and boxes twice as
/// much, all together; boxes no more than twice what agrees beyond a line or two, or beyond what else hides the page;
/// and little amid it: next to nothing before a photograph, before which other text lies on another ground, too.
bool isCoveredLittle(const Examination& e, const FramePair& pair) {
    const std::int64_t covered = e.inside.covered + e.overlay.covered + e.edge.covered + e.beyond.covered;
    if (covered * (weightOf(e) > 0 ? 2 : 5) + e.explained.buttons + e.explained.boxes / 2 > e.agreeing ||
        e.explained.boxes > 2 * std::max(weightOf(e), e.net()) || e.inside.covered * 4 > e.agreeing)
        return false;
    return e.inside.covered * coveredPhotographShare <= e.agreeing || pair.hasBackdrop() ||
           !areUneven(pair.a(), pair.b(), pair.tolerance());
}

/// What is left out of account is not much more than what agrees. A line or two beside a bar that only one frame shows
/// are enough if nothing else speaks against them or for another place.
bool isLeftOutLittle(const Examination& e, bool isAlone) {
    if (e.agreeing < lineOrTwo) {
        const bool isPlain = isAlone && e.against() == 0 && e.agreeing * 2 >= noDoubtBelow;
        return e.bar * 4 <= e.agreeing && e.explained.regionBands == 0 &&
               (e.explained.barBands == 0 || (isPlain && e.explained.barBands * 2 <= e.agreeing));
    }
    if (e.bar > (weightOf(e) > 0 ? mostBarsBeyondDoubt : mostBars) * e.agreeing)
        return false;
    if (e.explained.buttons > e.agreeing)
        return false;
    if (e.explained.regionBands > 0 && e.agreeing * 2 < 2 * leastBesideRegion + perTwoBands * e.explained.regionBands)
        return false;
    if (e.agreeingBands < manyBands)
        return e.explained.filmBands == 0 && (e.explained.regionBands == 0 || e.against() == 0);
    return e.explained.filmBands * 2 <= e.agreeingBands * 5;
}

} // namespace

bool holds(const Examination& e, const FramePair& pair, bool isAlone) {
    const std::int64_t height = std::min(pair.a().height, pair.b().height);
    if (pair.isForeground())
        return isPinned(e, height) && isBeforePhotograph(e, isAlone) && isLeftOutLittle(e, isAlone);
    return isEnough(e, height) && (!pair.hasBackdrop() || isBeforeBackdrop(e, pair, isAlone)) &&
           !isOtherText(e, height, isAlone) && isCoveredLittle(e, pair) && isLeftOutLittle(e, isAlone);
}

bool isSureOnAnyGround(const Examination& e) {
    return e.agreeingBands >= manyBands && e.unclear * 100 <= e.agreeing * mostInOne &&
           e.against() * otherOnAnyGround <= e.agreeing && e.net() > 0;
}

} // namespace orbelquist
