#include "Orbelquist/Verification.hpp"

#include "Orbelquist/BarEvidence.hpp"
#include "Orbelquist/BlockComparison.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <vector>

namespace orbelquist {

namespace {

/// A region that changes all through (a pinned video, a late picture) is at least so many bands high.
constexpr std::size_t leastRegion = 8;
/// Beyond a bar that stands still more of it may change, over one of so many parts of the screen: the line below the
/// tab that is chosen.
constexpr std::int64_t beyondBar = 32;
/// One overlay may take this part of the screen.
constexpr std::int64_t tallestOverlay = 12;
/// One band of so many is looked at first. A place is plainly another where in these, amid the page, by so many blocks
/// more contradict than agree, without those of what may be a film; or twice as many with them where next to nothing
/// agrees: that is never mended by the rest.
constexpr std::size_t firstBands = 4;
constexpr std::int64_t plainly = 12, nextToNothing = 4;
/// A round button's middle is no further from its edge than one of so many parts of the screen, and so many cells.
constexpr std::int64_t reachShare = 30;
constexpr std::size_t reachCells = 4;
/// It is at least so many bands high; a box that hides the page so many, higher than a heading.
constexpr std::size_t leastButton = 3, leastBox = 4;
/// A bar on the page's own ground contradicts at least so many blocks, more than a letter; the other frame's lines are
/// no nearer to its edge than so many rows.
constexpr std::int64_t leastInBar = 5, nearStep = 4;
/// A band of a bar holds at least so many blocks that stand still: one alone is chance.
constexpr int leastStill = 2;

class Verification {
public:
    Verification(const FramePair& pair, std::int64_t shift)
        : pair_(pair), comparison_(pair.layout(shift), firstBands), bands_(comparison_.bands()), e_{.shift = shift} {}

    std::optional<Examination> result() {
        comparison_.findCovered();
        if (isPlainlyOther())
            return std::nullopt;
        comparison_.compareRest();
        if (isHopeless())
            return std::nullopt;
        e_.difference = comparison_.difference();
        comparison_.findCovered();
        explainBars();
        findLoneBars();
        findEdgedBars();
        findRegions();
        explainButtons();
        explainBoxes();
        findStretch();
        if (e_.agreeing == 0)
            return std::nullopt;
        e_.first = comparison_.rowOf(first_), e_.last = comparison_.endOf(last_ - 1);
        e_.pageRows = std::min(e_.last, pair_.lastPageRow(e_.shift)) - std::max(e_.first, pair_.firstPageRow(e_.shift));
        countInside();
        countEdge(true);
        countEdge(false);
        return e_;
    }

private:
    const BlockComparison::Layout& layout() const { return comparison_.layout(); }

    /// A block of the first or the second frame, where it lies on the screen.
    ScreenBlock onScreen(std::size_t band, std::size_t block, bool second) const {
        const std::int64_t down = second ? 0 : e_.shift;
        return {.frame = second ? layout().b : layout().a,
                .other = second ? layout().a : layout().b,
                .top = comparison_.rowOf(band) + down,
                .bottom = comparison_.endOf(band) + down,
                .left = comparison_.columnOf(block),
                .right = comparison_.columnOf(block + 1),
                .toPage = second ? e_.shift : -e_.shift,
                .noise = comparison_.noise() / 2};
    }

    /// Whose screen ends where the overlap does.
    bool edgeIsOfSecond(bool top) const { return top ? layout().first == 0 : layout().last == layout().b.height; }

    /// Whether a band lies where a bar of the frame may be: at its top, or at its bottom.
    bool isInZone(std::size_t band, bool second, bool top) const {
        const Frame& frame = second ? layout().b : layout().a;
        const std::int64_t row = comparison_.rowOf(band) + (second ? 0 : e_.shift);
        const std::int64_t still = top ? pair_.furniture().topRows : pair_.furniture().bottomRows;
        const std::int64_t zone = std::max(frame.height / tallestBar,
                                           std::min(frame.height / tallestToolbars, still + frame.height / beyondBar));
        return top ? row < zone : row + comparison_.bandRows() > frame.height - zone;
    }

    /// Where no bar of either frame can be.
    bool isAmidPage(std::size_t band) const {
        for (const bool second : {false, true})
            if (isInZone(band, second, true) || isInZone(band, second, false))
                return false;
        return true;
    }

    bool isPlainlyOther() const {
        std::int64_t agreeing = 0, against = 0, inFilms = 0;
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            agreeing += bands_[i].count(Block::alike);
            if (isAmidPage(i))
                (isCovered(i) ? inFilms : against) += bands_[i].against();
        }
        return against > agreeing + plainly || (agreeing < nextToNothing && against + inFilms > 2 * plainly);
    }

    /// Whether too little agrees, all in all, for what contradicts where no bar can be: most shifts are told so, before
    /// the work begins.
    bool isHopeless() const {
        std::int64_t agreeing = 0, against = 0;
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            agreeing += bands_[i].count(Block::alike);
            against += isAmidPage(i) ? bands_[i].against() : 0;
        }
        return agreeing < leastAgreeing || (agreeing < noDoubtBelow && against * 4 > agreeing + 32);
    }

    /// Whether something stands still on the screen within a button's reach of a block.
    bool isNearStill(std::size_t band, std::size_t block, bool second) const {
        constexpr std::size_t cells = cellCount / blocksAcross;
        CellMask near = ((CellMask{1} << cells) - 1) << block * cells;
        for (std::size_t i = 0; i < reachCells; ++i)
            near |= near << 1 | near >> 1;
        const std::int64_t reach = std::min(layout().a.height, layout().b.height) / reachShare,
                           down = second ? 0 : e_.shift;
        for (std::int64_t row = std::max<std::int64_t>(0, comparison_.rowOf(band) + down - reach);
             row < comparison_.endOf(band) + down + reach; ++row)
            if (pair_.furnitureAt(row) & near)
                return true;
        return false;
    }

    /// What contradicts but belongs to a bar in sight, or to a scroll thumb at the side, says nothing.
    void explainBars() {
        for (Band& band : bands_)
            for (const std::size_t side : {std::size_t{0}, std::size_t{blocksAcross - 1}})
                if (band.at(side) == Block::shapes)
                    band.set(side, Block::unclear);
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            const bool isAmidText = bands_[i].count(Block::alike) > bands_[i].against();
            for (const bool second : {false, true}) {
                if (!isInZone(i, second, true) && !isInZone(i, second, false))
                    continue;
                for (std::size_t k = 0; k < blocksAcross; ++k)
                    if (bands_[i].contradicts(k) && (pair_.hasBackdrop() || !isAmidText || isNearStill(i, k, second)) &&
                        (mayBeBar(onScreen(i, k, second), false) ||
                         (bands_[i].at(k) == Block::covered && isStillGround(onScreen(i, k, second)))))
                        bands_[i].set(k, Block::bar);
            }
        }
    }

    /// What contradicts but belongs to a button that stands still and lets the page shine through says nothing: the
    /// page's own shapes, with less contrast; and another ground, higher than a line of text and as wide as a block at
    /// least, but for its rim.
    void explainButtons() {
        using Blocks = std::uint32_t; // of a band, the leftmost lowest
        static_assert(blocksAcross == 32);
        std::vector<Blocks> explained(bands_.size()), ground(explained), dimmed(explained), button(explained);
        for (std::size_t i = 0; i < bands_.size(); ++i)
            for (std::size_t k = 0; k < blocksAcross; ++k)
                for (const bool second : {false, true}) {
                    if (!bands_[i].contradicts(k) || !isNearStill(i, k, second) ||
                        !followsFromBoth(onScreen(i, k, second)))
                        continue;
                    const Blocks block = Blocks{1} << k;
                    explained[i] |= block;
                    if (bands_[i].at(k) == Block::covered)
                        ground[i] |= block;
                    else if (followsFromPage(onScreen(i, k, second)))
                        dimmed[i] |= block;
                }
        for (std::size_t i = 0; i + leastButton <= bands_.size(); ++i) {
            const Blocks high = std::accumulate(&ground[i], &ground[i] + leastButton, ~Blocks{0}, std::bit_and());
            for (std::size_t k = i > 0 ? i - 1 : 0; k < std::min(i + leastButton + 1, bands_.size()); ++k)
                button[k] |= high | high << 1 | high >> 1;
        }
        for (std::size_t i = 0; i < bands_.size(); ++i)
            for (Blocks blocks = (explained[i] & button[i]) | dimmed[i]; blocks != 0; blocks &= blocks - 1) {
                bands_[i].set(static_cast<std::size_t>(std::countr_zero(blocks)), Block::blank);
                ++e_.buttons;
            }
    }

    struct Place {
        std::size_t band, block;
    };

    /// The blocks that contradict and hang together with one, which comes first; marks them as seen, a bit a block.
    std::vector<Place> piecesOf(const Place& first, std::vector<std::uint32_t>& seen) const {
        static_assert(blocksAcross == 32);
        std::vector<Place> pieces;
        // Before the first is beyond the last: they wrap round.
        const auto visit = [&](std::size_t band, std::size_t block) {
            if (band >= bands_.size() || block >= blocksAcross || !bands_[band].contradicts(block) ||
                (seen[band] >> block & 1))
                return;
            seen[band] |= std::uint32_t{1} << block;
            pieces.push_back({band, block});
        };
        visit(first.band, first.block);
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const auto [band, block] = pieces[i];
            visit(band - 1, block), visit(band + 1, block), visit(band, block - 1), visit(band, block + 1);
        }
        return pieces;
    }

    /// What contradicts, most of it on another ground, and nearly fills a box higher than a line of text, is one thing
    /// that lies before the page, such as a toast, or a film that is seen in a corner of the screen.
    /// Before a picture its parts may look like that.
    void explainBoxes() {
        if (pair_.hasBackdrop())
            return;
        std::vector<std::uint32_t> seen(bands_.size());
        for (std::size_t i = 0; i < bands_.size(); ++i)
            for (std::size_t k = 0; k < blocksAcross; ++k) {
                const std::vector<Place> pieces = piecesOf({i, k}, seen);
                std::size_t bottom = i, left = k, right = k, covered = 0;
                for (const auto [band, block] : pieces) {
                    bottom = std::max(bottom, band), left = std::min(left, block), right = std::max(right, block);
                    covered += bands_[band].at(block) == Block::covered;
                }
                const std::size_t high = bottom - i + 1, box = high * (right - left + 1);
                if (high < leastBox || pieces.size() * 4 < box * 3 || covered * 2 < pieces.size())
                    continue;
                for (const auto [band, block] : pieces)
                    bands_[band].set(block, Block::bar);
                e_.boxes += std::ssize(pieces);
            }
    }

    /// Whether a band is something else over most of its width.
    bool isCovered(std::size_t i) const {
        return bands_[i].isDense() && bands_[i].count(Block::covered) * 2 > bands_[i].against();
    }

    /// Whether a band is a bar, or what nothing is known of, over nearly all of its width.
    bool isNearlyBar(std::size_t i) const {
        return (bands_[i].count(Block::covered) + bands_[i].count(Block::bar)) * 8 >= blocksAcross * 7;
    }

    /// Whether a band is half bar, half page: over more of its width than text is.
    bool isTorn(std::size_t i) const { return bands_[i].against() * 4 >= blocksAcross * 3; }

    void leaveOut(std::size_t begin, std::size_t end) {
        std::fill(bands_.begin() + static_cast<std::ptrdiff_t>(begin),
                  bands_.begin() + static_cast<std::ptrdiff_t>(end), Band{});
        e_.leftOut.push_back({comparison_.rowOf(begin), comparison_.endOf(end - 1)});
    }

    /// Takes out of account a bar that only one frame shows: it covers all up to the edge of its screen.
    void findLoneBars() {
        for (const bool top : {true, false}) {
            const bool second = edgeIsOfSecond(top);
            const auto at = [&](std::size_t n) { return top ? n : bands_.size() - 1 - n; }; // from the edge inwards
            std::size_t end = 0, bar = 0;
            std::int64_t bars = 0;
            for (; end < bands_.size() && isInZone(at(end), second, top); ++end)
                if (isNearlyBar(at(end)))
                    ++bars, bar = end + 1;
                else if (!bands_[at(end)].isBlank())
                    break;
            if (bar == 0 || (end < bands_.size() && isCovered(at(end)))) // it goes on: no bar
                continue;
            e_.barBands += bars;
            bar += bar < bands_.size() && isTorn(at(bar));
            leaveOut(top ? 0 : bands_.size() - bar, top ? bar : bands_.size());
        }
    }

    /// Takes out of account a bar on the page's own ground that only one frame shows: it ends in a line or a step over
    /// the frame's width which the other frame has not at that row of the page, and hardly anything agrees up to there.
    /// Before a picture that may be chance.
    void findEdgedBars() {
        if (pair_.hasBackdrop())
            return;
        for (const bool top : {true, false}) {
            const bool second = edgeIsOfSecond(top);
            const auto at = [&](std::size_t n) { return top ? n : bands_.size() - 1 - n; }; // from the edge inwards
            std::size_t bar = 0;
            std::int64_t alike = 0, against = 0, inBar = 0;
            for (std::size_t n = 0; n < bands_.size() && isInZone(at(n), second, top); ++n) {
                alike += bands_[at(n)].count(Block::alike), against += bands_[at(n)].against();
                if (against >= leastInBar && alike * 4 <= against && hasLoneStep(at(n), second))
                    bar = n + 1, inBar = against;
            }
            if (bar == 0)
                continue;
            e_.barBands += static_cast<std::int64_t>(bar);
            e_.inEdgedBars += inBar;
            leaveOut(top ? 0 : bands_.size() - bar, top ? bar : bands_.size());
        }
    }

    /// Whether one frame steps over nearly all of its width within a band, and the other one nowhere near that row of
    /// the page over half of its own.
    bool hasLoneStep(std::size_t band, bool second) const {
        const Frame &frame = second ? layout().b : layout().a, &other = second ? layout().a : layout().b;
        const std::int64_t toFrame = second ? 0 : e_.shift, toOther = second ? e_.shift : 0;
        const auto stepAt = [](const Frame& of, std::int64_t row) {
            return row > 0 && row + 1 < of.height ? cellsOfStep(of, row) : 0;
        };
        for (std::int64_t row = comparison_.rowOf(band); row < comparison_.endOf(band); ++row) {
            if (!stepsAcross(frame, row + toFrame))
                continue;
            int step = 0;
            for (std::int64_t near = row - nearStep; near <= row + nearStep; ++near)
                step = std::max(step, stepAt(other, near + toOther));
            if (step * 2 < cellCount)
                return true;
        }
        return false;
    }

    /// Whether bands are a bar that only the frame shows which ends there: they reach no further in than one may, and
    /// nothing between them and the overlap's edge is the page.
    bool isLoneBar(std::size_t begin, std::size_t end) const {
        const auto agrees = [](const Band& band) { return band.count(Block::alike) > 0; };
        return (isInZone(end - 1, edgeIsOfSecond(true), true) &&
                std::none_of(bands_.begin(), bands_.begin() + static_cast<std::ptrdiff_t>(begin), agrees)) ||
               (isInZone(begin, edgeIsOfSecond(false), false) &&
                std::none_of(bands_.begin() + static_cast<std::ptrdiff_t>(end), bands_.end(), agrees));
    }

    /// Whether a region is seen through a window that stands still, such as that of a film above the page: its upper
    /// edge is that of the screen further up, its lower edge the other's.
    bool isWindow(std::size_t begin, std::size_t end) const {
        const std::int64_t top = comparison_.rowOf(begin), bottom = comparison_.endOf(end - 1);
        const auto standsStill = [&](std::int64_t row) {
            return hasStandingEdge(layout().a, layout().b, pair_.furniture(), row, comparison_.bandRows());
        };
        return standsStill(std::max(top, top + e_.shift)) || standsStill(std::min(bottom, bottom + e_.shift));
    }

    /// Takes out of account what changes all through: many bands in a row that are covered over most of their width. A
    /// part of them may be explained as a bar.
    void findRegions() {
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            std::size_t begin = i, end = i;
            bool isBarAlone = true;
            for (; end < bands_.size() && (isCovered(end) || isNearlyBar(end)); ++end)
                isBarAlone &= !isCovered(end);
            if (end - begin < leastRegion || isBarAlone)
                continue;
            const bool isBar = isLoneBar(begin, end);
            (isBar ? e_.barBands : e_.regionBands) += static_cast<std::int64_t>(end - begin);
            if (!isBar && !isWindow(begin, end))
                e_.filmBands += static_cast<std::int64_t>(end - begin);
            begin -= begin > 0 && bands_[begin - 1].against() > 0; // half region, half page
            end += end < bands_.size() && bands_[end].against() > 0;
            leaveOut(begin, end);
            i = end - 1;
        }
    }

    /// The bands whose agreement less twice their contradiction is greatest, but for one overlay's height among them.
    void findStretch() {
        struct Run {
            std::int64_t sum = 0;
            std::size_t start = 0;
        };
        constexpr auto overlayBands = static_cast<std::size_t>(bandsPerScreen / tallestOverlay);
        std::vector<Run> plain{{}}, skipped{{}}; // that end before band i, without and with an overlay
        std::int64_t best = 0;
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            const Band& band = bands_[i];
            // A band of something else altogether is no evidence; nor is it crossed for nothing.
            const std::int64_t worth =
                band.isDense() ? -band.count(Block::covered) / 4
                               : band.count(Block::alike) + band.count(Block::lines) / 4 - 2 * band.against();
            Run without = plain[i], with = skipped[i];
            without.sum += worth, with.sum += worth;
            for (std::size_t high = 1; high <= std::min(overlayBands, i + 1); ++high)
                if (plain[i + 1 - high].sum > with.sum)
                    with = plain[i + 1 - high];
            for (Run* run : {&without, &with}) {
                if (run->sum <= 0)
                    *run = {.sum = 0, .start = i + 1};
                if (run->sum > best) {
                    best = run->sum;
                    first_ = run->start, last_ = i + 1;
                }
            }
            plain.push_back(without), skipped.push_back(with);
        }
        const auto agrees = [&](std::size_t i) { return bands_[i].count(Block::alike) > 0; }; // a bar's edge is a line
        while (first_ < last_ && !agrees(first_))
            ++first_;
        while (first_ < last_ && !agrees(last_ - 1))
            --last_;
        for (std::size_t i = first_; i < last_; ++i) {
            e_.agreeing += bands_[i].count(Block::alike);
            e_.agreeingBands += agrees(i);
            e_.unclear += bands_[i].count(Block::unclear);
            for (std::size_t k = 0; k < blocksAcross; ++k)
                if (bands_[i].at(k) == Block::alike) {
                    e_.certain += comparison_.isPage(i, k);
                    e_.upright += comparison_.isUpright(i, k);
                }
        }
    }

    static void count(Examination::Against& against, const Band& band) {
        against.shapes += band.count(Block::shapes);
        against.covered += band.count(Block::covered);
    }

    /// Tells what one overlay hides from the rest: the window of its height in which most contradicts.
    void countInside() {
        std::size_t from = first_, to = first_;
        std::int64_t most = 0;
        for (std::size_t i = first_; i < last_; ++i) {
            const std::size_t end = std::min(last_, i + bandsPerScreen / tallestOverlay);
            std::int64_t window = 0;
            for (std::size_t k = i; k < end; ++k)
                window += bands_[k].against();
            if (window > most) {
                most = window;
                from = i, to = end;
            }
        }
        for (std::size_t i = first_; i < last_; ++i)
            count(i >= from && i < to ? e_.overlay : e_.inside, bands_[i]);
    }

    /// The bands from the stretch to the overlap's edge, where a bar may lie: the top bar of the frame whose upper
    /// screen edge lies in the overlap, or the other's bottom bar.
    void countEdge(bool top) {
        const bool second = edgeIsOfSecond(top);
        const std::size_t from = top ? 0 : last_, to = top ? first_ : bands_.size();
        std::size_t barFrom = to, barTo = from; // it reaches as far in as anything in it stands still
        for (std::size_t i = from; i < to; ++i)
            if (isInZone(i, second, top) && stillBlocks(i, second) >= leastStill) {
                barFrom = top ? from : std::min(barFrom, i);
                barTo = top ? i + 1 : to;
            }
        for (std::size_t i = from; i < to; ++i) {
            if (!isInZone(i, second, top)) {
                count(e_.beyond, bands_[i]);
                continue;
            }
            const bool frayed = i == (top ? to - 1 : from); // beside the stretch: half bar, half page
            const bool isBar = frayed || isInShadow(i, second, top);
            e_.bar += bands_[i].count(Block::bar);
            for (std::size_t k = 0; k < blocksAcross; ++k) {
                const bool covered = bands_[i].at(k) == Block::covered;
                if (!bands_[i].contradicts(k))
                    continue;
                if (isBar || mayBeBar(onScreen(i, k, second), covered || (i >= barFrom && i < barTo)))
                    ++e_.bar;
                else
                    ++(covered ? e_.edge.covered : e_.edge.shapes);
            }
        }
    }

    int stillBlocks(std::size_t band, bool second) const {
        int still = 0;
        for (std::size_t k = 0; k < blocksAcross; ++k)
            still += bands_[band].at(k) > Block::alike && standsStill(onScreen(band, k, second));
        return still;
    }

    bool isInShadow(std::size_t band, bool second, bool top) const {
        const Frame& frame = second ? layout().b : layout().a;
        const std::int64_t row = comparison_.rowOf(band) + (second ? 0 : e_.shift), reach = frame.height / shadowShare;
        const std::int64_t bar = top ? pair_.furniture().topRows : pair_.furniture().bottomRows;
        return bar > 0 && (top ? row < bar + reach : row + comparison_.bandRows() > frame.height - bar - reach);
    }

    const FramePair& pair_;
    BlockComparison comparison_;
    std::vector<Band>& bands_;
    std::size_t first_ = 0, last_ = 0; ///< of the stretch
    Examination e_;
};

} // namespace

std::optional<Examination> examine(const FramePair& pair, std::int64_t shift) {
    return Verification(pair, shift).result();
}

} // namespace orbelquist
