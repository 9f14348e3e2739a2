#include "Orbelquist/Explanation.hpp"

#include <algorithm>
#include <bit>
#include <functional>
#include <numeric>
#include <utility>

namespace orbelquist {

namespace {

/// A region that changes all through (a pinned video, a late picture) is at least so many bands high.
constexpr std::size_t leastRegion = 8;
/// A round button's middle is no further from its edge than one of so many parts of the screen, and so many cells.
constexpr std::int64_t reachShare = 30;
constexpr std::size_t reachCells = 4;
/// It is at least so many bands high; a box that hides the page so many, higher than a heading.
constexpr std::size_t leastButton = 3, leastBox = 4;
/// A bar on the page's own ground contradicts at least so many blocks, more than a letter; the other frame's lines are
/// no nearer to its edge than so many rows.
constexpr std::int64_t leastInBar = 5, nearStep = 4;
/// What is stuck below a bar is no higher than one of so many parts of the screen, two lines; beside it so many blocks
/// agree, over so many bands.
constexpr std::int64_t stuckShare = 14, leastBesideStuck = 150, leastBandsBesideStuck = 15;

class Explanation {
public:
    explicit Explanation(Overlap& overlap)
        : overlap_(overlap), comparison_(overlap.comparison()), bands_(overlap.bands()) {}

    Explained result() {
        explainBars();
        findLoneBars();
        findEdgedBars();
        findStuck();
        findRegions();
        explainButtons();
        explainBoxes();
        return std::move(e_);
    }

private:
    /// Whether something stands still on the screen within a button's reach of a block.
    bool isNearStill(std::size_t band, std::size_t block, bool second) const {
        constexpr std::size_t cells = cellCount / blocksAcross;
        CellMask near = ((CellMask{1} << cells) - 1) << block * cells;
        for (std::size_t i = 0; i < reachCells; ++i)
            near |= near << 1 | near >> 1;
        const std::int64_t reach = std::min(overlap_.pair().a().height, overlap_.pair().b().height) / reachShare,
                           down = overlap_.toScreen(second);
        for (std::int64_t row = std::max<std::int64_t>(0, comparison_.rowOf(band) + down - reach);
             row < comparison_.endOf(band) + down + reach; ++row)
            if (overlap_.pair().furnitureAt(row) & near)
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
                if (!overlap_.isInZone(i, second, true) && !overlap_.isInZone(i, second, false))
                    continue;
                for (std::size_t k = 0; k < blocksAcross; ++k)
                    if (bands_[i].contradicts(k) &&
                        (overlap_.pair().hasBackdrop() || !isAmidText || isNearStill(i, k, second)) &&
                        (mayBeBar(overlap_.onScreen(i, k, second), false) ||
                         (bands_[i].at(k) == Block::covered && isStillGround(overlap_.onScreen(i, k, second)))))
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
                        !followsFromBoth(overlap_.onScreen(i, k, second)))
                        continue;
                    const Blocks block = Blocks{1} << k;
                    explained[i] |= block;
                    if (bands_[i].at(k) == Block::covered)
                        ground[i] |= block;
                    else if (followsFromPage(overlap_.onScreen(i, k, second)))
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
        if (overlap_.pair().hasBackdrop())
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

    /// The n-th band from the overlap's upper or lower edge inwards.
    std::size_t fromEdge(bool top, std::size_t n) const { return top ? n : bands_.size() - 1 - n; }

    /// Leaves out these of them.
    void leaveOut(bool top, std::size_t begin, std::size_t end) {
        leaveOut(top ? begin : bands_.size() - end, top ? end : bands_.size() - begin);
    }

    /// Takes out of account a bar that only one frame shows: it covers all up to the edge of its screen.
    void findLoneBars() {
        for (const bool top : {true, false}) {
            const bool second = overlap_.edgeIsOfSecond(top);
            const auto at = [&](std::size_t n) { return fromEdge(top, n); };
            std::size_t end = 0, bar = 0;
            std::int64_t bars = 0;
            for (; end < bands_.size() && overlap_.isInZone(at(end), second, top); ++end)
                if (isNearlyBar(at(end)))
                    ++bars, bar = end + 1;
                else if (!bands_[at(end)].isBlank())
                    break;
            if (bar == 0 || (end < bands_.size() && overlap_.isCovered(at(end)))) // it goes on: no bar
                continue;
            e_.barBands += bars;
            bar += bar < bands_.size() && isTorn(at(bar));
            leaveOut(top, 0, bar);
        }
    }

    /// Takes out of account a bar on the page's own ground that only one frame shows: it ends in a line or a step over
    /// the frame's width which the other frame has not at that row of the page, and hardly anything agrees up to there.
    /// Before a picture that may be chance.
    void findEdgedBars() {
        if (overlap_.pair().hasBackdrop())
            return;
        for (const bool top : {true, false}) {
            const bool second = overlap_.edgeIsOfSecond(top);
            const auto at = [&](std::size_t n) { return fromEdge(top, n); };
            std::size_t bar = 0;
            std::int64_t alike = 0, against = 0, inBar = 0;
            for (std::size_t n = 0; n < bands_.size() && overlap_.isInZone(at(n), second, top); ++n) {
                alike += bands_[at(n)].count(Block::alike), against += bands_[at(n)].against();
                if (against >= leastInBar && alike * 4 <= against && hasLoneStep(at(n), second))
                    bar = n + 1, inBar = against;
            }
            if (bar == 0)
                continue;
            e_.barBands += static_cast<std::int64_t>(bar);
            e_.inEdgedBars += inBar;
            leaveOut(top, 0, bar);
        }
    }

    /// Takes out of account what is stuck below a bar, or above one, and changes, such as the heading of a section: it
    /// is low, lies where bars may, and nothing contradicts all the rest of the page, which agrees over much of the
    /// screen. Before a picture that may be chance.
    void findStuck() {
        if (overlap_.pair().hasBackdrop())
            return;
        for (const bool top : {true, false}) {
            const auto at = [&](std::size_t n) { return fromEdge(top, n); };
            std::size_t begin = bands_.size(), end = 0; // of what contradicts
            std::int64_t against = 0, alike = 0, alikeBeside = 0, bandsBeside = 0;
            for (std::size_t n = 0; n < bands_.size(); ++n)
                if (const int here = bands_[at(n)].against(); here > 0)
                    begin = std::min(begin, n), end = n + 1, against += here;
            for (std::size_t n = 0; n < bands_.size(); ++n) {
                const int here = bands_[at(n)].count(Block::alike);
                (n < end ? alike : alikeBeside) += here;
                bandsBeside += n >= end && here > 0;
            }
            if (against < leastInBar || alike * 4 > against || alikeBeside < leastBesideStuck ||
                bandsBeside < leastBandsBesideStuck)
                continue;
            const bool second = overlap_.edgeIsOfSecond(top);
            const std::int64_t height = overlap_.frame(second).height, down = overlap_.toScreen(second);
            const std::int64_t inwards =
                top ? comparison_.endOf(at(end - 1)) + down : height - comparison_.rowOf(at(end - 1)) - down;
            if (static_cast<std::int64_t>(end - begin) * comparison_.bandRows() * stuckShare > height ||
                inwards * tallestToolbars > height)
                continue;
            e_.barBands += static_cast<std::int64_t>(end - begin);
            e_.inEdgedBars += against;
            leaveOut(top, begin, end);
        }
    }

    /// Whether one frame steps over nearly all of its width within a band, and the other one nowhere near that row of
    /// the page over half of its own.
    bool hasLoneStep(std::size_t band, bool second) const {
        const Frame &frame = overlap_.frame(second), &other = overlap_.frame(!second);
        const std::int64_t toFrame = overlap_.toScreen(second), toOther = overlap_.toScreen(!second);
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
        return (overlap_.isInZone(end - 1, overlap_.edgeIsOfSecond(true), true) &&
                std::none_of(bands_.begin(), bands_.begin() + static_cast<std::ptrdiff_t>(begin), agrees)) ||
               (overlap_.isInZone(begin, overlap_.edgeIsOfSecond(false), false) &&
                std::none_of(bands_.begin() + static_cast<std::ptrdiff_t>(end), bands_.end(), agrees));
    }

    /// Whether a region is seen through a window that stands still, such as that of a film above the page: its upper
    /// edge is that of the screen further up, its lower edge the other's.
    bool isWindow(std::size_t begin, std::size_t end) const {
        const std::int64_t top = comparison_.rowOf(begin), bottom = comparison_.endOf(end - 1);
        const auto standsStill = [&](std::int64_t row) {
            return hasStandingEdge(overlap_.frame(false), overlap_.frame(true), overlap_.pair().furniture(), row,
                                   comparison_.bandRows());
        };
        return standsStill(std::max(top, top + overlap_.shift())) ||
               standsStill(std::min(bottom, bottom + overlap_.shift()));
    }

    /// Takes out of account what changes all through: many bands in a row that are covered over most of their width. A
    /// part of them may be explained as a bar.
    void findRegions() {
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            std::size_t begin = i, end = i;
            bool isBarAlone = true;
            for (; end < bands_.size() && (overlap_.isCovered(end) || isNearlyBar(end)); ++end)
                isBarAlone &= !overlap_.isCovered(end);
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

    Overlap& overlap_;
    const BlockComparison& comparison_;
    std::vector<Band>& bands_;
    Explained e_;
};

} // namespace

Explained explain(Overlap& overlap) {
    return Explanation(overlap).result();
}

} // namespace orbelquist
