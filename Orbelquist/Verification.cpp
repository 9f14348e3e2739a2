#include "Orbelquist/Verification.hpp"

#include "Orbelquist/BarEvidence.hpp"
#include "Orbelquist/BlockComparison.hpp"
#include "Orbelquist/Overlap.hpp"

#include <algorithm>
#include <vector>

namespace orbelquist {

namespace {

/// One overlay may take this part of the screen.
constexpr std::int64_t tallestOverlay = 12;
/// One band of so many is looked at first. A place is plainly another where in these, amid the page, by so many blocks
/// more contradict than agree, without those of what may be a film; or twice as many with them where next to nothing
/// agrees: that is never mended by the rest.
constexpr std::size_t firstBands = 4;
constexpr std::int64_t plainly = 12, nextToNothing = 4;
/// A band of a bar holds at least so many blocks that stand still: one alone is chance.
constexpr int leastStill = 2;

class Verification {
public:
    Verification(const FramePair& pair, std::int64_t shift)
        : overlap_(pair, shift, firstBands), comparison_(overlap_.comparison()), bands_(overlap_.bands()),
          e_{.shift = shift} {}

    std::optional<Examination> result() {
        comparison_.findCovered();
        if (isPlainlyOther())
            return std::nullopt;
        comparison_.compareRest();
        if (isHopeless())
            return std::nullopt;
        e_.difference = comparison_.difference();
        comparison_.findCovered();
        e_.explained = explain(overlap_);
        findStretch();
        if (e_.agreeing == 0)
            return std::nullopt;
        e_.first = comparison_.rowOf(first_), e_.last = comparison_.endOf(last_ - 1);
        e_.pageRows = std::min(e_.last, overlap_.pair().lastPageRow(e_.shift)) -
                      std::max(e_.first, overlap_.pair().firstPageRow(e_.shift));
        countInside();
        countEdge(true);
        countEdge(false);
        return e_;
    }

private:
    bool isPlainlyOther() const {
        std::int64_t agreeing = 0, against = 0, inFilms = 0;
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            agreeing += bands_[i].count(Block::alike);
            if (overlap_.isAmidPage(i))
                (overlap_.isCovered(i) ? inFilms : against) += bands_[i].against();
        }
        return against > agreeing + plainly || (agreeing < nextToNothing && against + inFilms > 2 * plainly);
    }

    /// Whether too little agrees, all in all, for what contradicts where no bar can be: most shifts are told so, before
    /// the work begins.
    bool isHopeless() const {
        std::int64_t agreeing = 0, against = 0;
        for (std::size_t i = 0; i < bands_.size(); ++i) {
            agreeing += bands_[i].count(Block::alike);
            against += overlap_.isAmidPage(i) ? bands_[i].against() : 0;
        }
        return agreeing < leastAgreeing || (agreeing < noDoubtBelow && against * 4 > agreeing + 32);
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
        const bool second = overlap_.edgeIsOfSecond(top);
        const std::size_t from = top ? 0 : last_, to = top ? first_ : bands_.size();
        std::size_t barFrom = to, barTo = from; // it reaches as far in as anything in it stands still
        for (std::size_t i = from; i < to; ++i)
            if (overlap_.isInZone(i, second, top) && stillBlocks(i, second) >= leastStill) {
                barFrom = top ? from : std::min(barFrom, i);
                barTo = top ? i + 1 : to;
            }
        for (std::size_t i = from; i < to; ++i) {
            if (!overlap_.isInZone(i, second, top)) {
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
                if (isBar || mayBeBar(overlap_.onScreen(i, k, second), covered || (i >= barFrom && i < barTo)))
                    ++e_.bar;
                else
                    ++(covered ? e_.edge.covered : e_.edge.shapes);
            }
        }
    }

    int stillBlocks(std::size_t band, bool second) const {
        int still = 0;
        for (std::size_t k = 0; k < blocksAcross; ++k)
            still += bands_[band].at(k) > Block::alike && standsStill(overlap_.onScreen(band, k, second));
        return still;
    }

    bool isInShadow(std::size_t band, bool second, bool top) const {
        const std::int64_t row = comparison_.rowOf(band) + overlap_.toScreen(second);
        const std::int64_t height = overlap_.frame(second).height, reach = height / shadowShare;
        const std::int64_t bar = top ? overlap_.pair().furniture().topRows : overlap_.pair().furniture().bottomRows;
        return bar > 0 && (top ? row < bar + reach : row + comparison_.bandRows() > height - bar - reach);
    }

    Overlap overlap_;
    BlockComparison& comparison_;
    std::vector<Band>& bands_;
    std::size_t first_ = 0, last_ = 0; ///< of the stretch
    Examination e_;
};

} // namespace

std::optional<Examination> examine(const FramePair& pair, std::int64_t shift) {
    return Verification(pair, shift).result();
}

} // namespace orbelquist
