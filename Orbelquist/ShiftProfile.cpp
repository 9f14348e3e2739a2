#include "Orbelquist/ShiftProfile.hpp"

#include <algorithm>
#include <functional>
#include <utility>

namespace orbelquist {

FramePair::FramePair(const Frame& a, const Frame& b, std::uint8_t tolerance)
    : FramePair(a, b, tolerance, furnitureOf(a, b, tolerance)) {}

FramePair::FramePair(const Frame& a, const Frame& b, std::uint8_t tolerance, Furniture furniture)
    : a_(a), b_(b), tolerance_(tolerance), furniture_(std::move(furniture)), ignoredInA_(furniture_.cells),
      ignoredInB_(furniture_.cells) {
    ignoredInA_.resize(static_cast<std::size_t>(a.height));
    ignoredInB_.resize(static_cast<std::size_t>(b.height));
}

FramePair FramePair::withBarsAlone() const {
    if (isForeground_)
        return *this;
    Furniture bars = furniture_;
    if (bars.topRows + bars.bottomRows < std::ssize(bars.cells))
        std::fill(bars.cells.begin() + bars.topRows, bars.cells.end() - bars.bottomRows, CellMask{0});
    return FramePair(a_, b_, tolerance_, std::move(bars));
}

FramePair FramePair::withoutFurniture() const {
    return FramePair(a_, b_, tolerance_, {.cells = std::vector<CellMask>(furniture_.cells.size())});
}

std::optional<FramePair> FramePair::withBackdrop(std::span<const Frame* const> neighbours) const {
    auto backdrop = backdropBehind(a_, b_, neighbours, furniture_, tolerance_);
    if (!backdrop)
        return std::nullopt;
    FramePair pair = *this;
    pair.blocksOfBackdrop_ = backdrop->blocks, pair.isBackdropCovered_ = backdrop->isCovered;
    pair.ignoredInA_ = std::move(backdrop->ignoredInA), pair.ignoredInB_ = std::move(backdrop->ignoredInB);
    pair.pageInA_ = std::move(backdrop->pageInA), pair.pageInB_ = std::move(backdrop->pageInB);
    return pair;
}

std::optional<FramePair> FramePair::withoutEdges(const ScreenEdges& ofA, const ScreenEdges& ofB) const {
    FramePair pair = *this;
    bool areMore = false;
    const auto ignore = [&](const ScreenEdges& edges, std::vector<CellMask>& ignored) {
        const std::int64_t hardly = std::ssize(ignored) / shadowShare;
        areMore |= edges.top > furniture_.topRows + hardly || edges.bottom > furniture_.bottomRows + hardly;
        std::fill(ignored.begin(), ignored.begin() + edges.top, ~CellMask{0});
        std::fill(ignored.end() - edges.bottom, ignored.end(), ~CellMask{0});
    };
    ignore(ofA, pair.ignoredInA_), ignore(ofB, pair.ignoredInB_);
    return areMore ? std::optional(pair) : std::nullopt;
}

FramePair FramePair::withForeground(const Foreground& foreground) const {
    FramePair pair(foreground.a, foreground.b, tolerance_, withBarsAlone().furniture_);
    const auto ignore = [](std::vector<CellMask>& ignored, const std::vector<CellMask>& unknown) {
        std::ranges::transform(ignored, unknown, ignored.begin(), std::bit_or());
    };
    ignore(pair.ignoredInA_, foreground.unknownInA), ignore(pair.ignoredInB_, foreground.unknownInB);
    pair.isForeground_ = true;
    return pair;
}

FramePair FramePair::withoutRows(std::span<const Rows> rows, std::int64_t shift) const {
    FramePair pair = *this;
    for (const auto& [first, last] : rows) {
        std::fill(pair.ignoredInA_.begin() + first + shift, pair.ignoredInA_.begin() + last + shift, ~CellMask{0});
        std::fill(pair.ignoredInB_.begin() + first, pair.ignoredInB_.begin() + last, ~CellMask{0});
    }
    return pair;
}

void FramePair::compare(std::int64_t shift, std::vector<RowAgreement>& rows) const {
    const std::int64_t first = firstRow(shift), last = lastRow(shift);
    rows.resize(static_cast<std::size_t>(std::max<std::int64_t>(0, last - first)));
    if (rows.empty())
        return;
    const auto inA = static_cast<std::size_t>(first + shift), inB = static_cast<std::size_t>(first);
    compareRows({&a_.signature[inA], &a_.informed[inA], &ignoredInA_[inA]},
                {&b_.signature[inB], &b_.informed[inB], &ignoredInB_[inB]}, tolerance_, rows);
}

Stretch bestStretch(std::int64_t shift, std::int64_t firstRow, const std::vector<RowAgreement>& rows) {
    std::int64_t overall = 0;
    Stretch best{.shift = shift}, current{.shift = shift, .first = firstRow};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        current.agreeing += rows[i].agreeing;
        current.contradicting += rows[i].contradicting;
        overall += rows[i].contradicting;
        current.last = firstRow + static_cast<std::int64_t>(i + 1);
        if (current.score() <= 0)
            current = {.shift = shift, .first = current.last};
        else if (current.score() > best.score())
            best = current;
    }
    best.overall = overall;
    return best;
}

} // namespace orbelquist
