#include "Platform/CoreImage/RowStack.hpp"

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <ranges>

namespace platform {

namespace {

std::vector<std::int64_t> endsOf(const std::vector<RowPlacement>& placements) {
    std::vector<std::int64_t> ends(placements.size());
    std::map<std::int64_t, std::int64_t> hidden; // first row -> end, apart from each other
    for (auto i = placements.size(); i-- > 0;) {
        const RowPlacement& image = placements[i];
        std::int64_t end = image.bottom;
        auto after = hidden.lower_bound(end);
        if (after != hidden.begin() && std::prev(after)->second >= end)
            end = std::prev(after)->first;
        ends[i] = std::max(end, image.top);

        std::int64_t first = std::max(image.top, image.fadeEnd), last = image.bottom;
        if (first >= last)
            continue;
        auto overlapping = hidden.upper_bound(first);
        if (overlapping != hidden.begin() && std::prev(overlapping)->second >= first)
            --overlapping;
        while (overlapping != hidden.end() && overlapping->first <= last) {
            first = std::min(first, overlapping->first);
            last = std::max(last, overlapping->second);
            overlapping = hidden.erase(overlapping);
        }
        hidden.emplace(first, last);
    }
    return ends;
}

} // namespace

RowStack::RowStack(std::vector<RowPlacement> placements)
    : placements_(std::move(placements)), ends_(endsOf(placements_)), byTop_(placements_.size()) {
    std::ranges::copy(std::views::iota(std::ptrdiff_t{0}, std::ssize(byTop_)), byTop_.begin());
    std::ranges::stable_sort(byTop_, std::greater(), [&](std::ptrdiff_t i) { return placement(i).top; });
}

RowStretch RowStack::at(std::int64_t row) {
    advanceTo(row);
    RowStretch stretch{.end = nextChange(row)};
    for (auto image = active_.rbegin(); image != active_.rend(); ++image) {
        const RowPlacement& rows = placement(*image);
        const bool isLowest = std::next(image) == active_.rend(); // nothing to fade over: it shows whole
        if (isLowest || row >= rows.fadeEnd) {
            stretch.base = *image;
            break;
        }
        if (row >= rows.fadeStart)
            stretch.fading.push_back(*image);
    }
    std::ranges::reverse(stretch.fading);
    return stretch;
}

/// Takes up the images that begin above or at `row` and drops those that show no more.
void RowStack::advanceTo(std::int64_t row) {
    while (!byTop_.empty() && placement(byTop_.back()).top <= row) {
        active_.insert(std::ranges::upper_bound(active_, byTop_.back()), byTop_.back());
        byTop_.pop_back();
    }
    std::erase_if(active_, [&](std::ptrdiff_t image) { return lastRow(image) <= row; });
}

/// The first row after `row` that may be made up otherwise.
std::int64_t RowStack::nextChange(std::int64_t row) const {
    std::int64_t next = std::numeric_limits<std::int64_t>::max();
    const auto consider = [&](std::int64_t change) {
        if (change > row)
            next = std::min(next, change);
    };
    if (!byTop_.empty())
        consider(placement(byTop_.back()).top);
    for (const std::ptrdiff_t image : active_) {
        consider(placement(image).fadeStart);
        consider(placement(image).fadeEnd);
        consider(lastRow(image));
    }
    return next;
}

} // namespace platform
