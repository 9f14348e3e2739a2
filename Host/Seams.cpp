#include "Host/Seams.hpp"

#include "Host/Message.hpp"
#include "Host/VerdictMessage.hpp"

#include <algorithm>
#include <cstdlib>

namespace host {

using orbelquist::KSVPattern;
using orbelquist::KSVPatternPair;
using velmorant::StitchableItem;

namespace {

/// The band of a seam set by hand is a single row, in the middle of what both screens show: its bars are not known.
KSVPattern patternByHand(const StitchableItem& first, const StitchableItem& second, std::int64_t rows) {
    const std::int64_t begin = std::max<std::int64_t>(0, -rows);
    const std::int64_t end = std::min(second.size().height, first.size().height - rows);
    const std::int64_t row = begin < end ? begin + (end - begin) / 2 : begin;
    return {rows, row, 1};
}

} // namespace

std::string Seam::reason() const {
    return byHand ? message("placed by hand") : verdictMessage(verdict);
}

void Seams::take(const velmorant::Group& group, Pairs& pairs) {
    const auto& items = group.items();
    std::vector<Seam> seams;
    for (std::size_t k = 0; k < pairs.size() && k + 1 < items.size(); ++k) {
        KSVPatternPair& pair = pairs[k];
        const Place* place = placeOf(items[k + 1]);
        const bool byHand = place != nullptr;
        if (byHand)
            pair.positive = pair.negative = patternByHand(items[k], items[k + 1], place->rows);
        const std::int64_t offset = byHand ? place->rows : pair.verdict.valid() ? pair.verdict.offset : 0;
        Seam seam{.upper = items[k],
                  .lower = items[k + 1],
                  .offset = std::abs(offset),
                  .verdict = pair.verdict,
                  .byHand = byHand};
        if (offset < 0)
            std::swap(seam.upper, seam.lower);
        seams.push_back(std::move(seam));
    }
    const platform::MutexLock lock(mutex_);
    seams_.insert_or_assign(group.id(), std::move(seams));
}

const Place* Seams::placeOf(const StitchableItem& item) const {
    const auto found = std::ranges::find_if(places_, [&](const Place& place) {
        std::error_code unknown;
        return std::filesystem::equivalent(place.path, files_->path(item), unknown);
    });
    return found == places_.end() ? nullptr : &*found;
}

std::vector<Seam> Seams::of(const velmorant::Group& group) const {
    const platform::MutexLock lock(mutex_);
    const auto found = seams_.find(group.id());
    return found == seams_.end() ? std::vector<Seam>() : found->second;
}

Bars Seams::barsOf(const velmorant::Group& group, const velmorant::Alignment& alignment) const {
    const auto& positions = alignment.positions();
    const auto lowest = std::ranges::max_element(
        positions, {}, [](const auto& entry) { return entry.second.offset + entry.first.size().height; });
    Bars bars;
    for (const Seam& seam : of(group)) {
        const auto joins = [&](const StitchableItem& item) { return seam.upper == item || seam.lower == item; };
        if (!seam.verdict.valid() || positions.empty())
            continue;
        if (joins(positions.front().first))
            bars.top = std::max(bars.top, seam.verdict.topBar);
        if (joins(lowest->first))
            bars.bottom = std::max(bars.bottom, seam.verdict.bottomBar);
    }
    return bars;
}

} // namespace host
