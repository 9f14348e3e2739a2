#include "Platform/CoreImage/BandRenderer.hpp"

#include "Platform/CoreImage/Node.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

namespace platform::ci {

namespace {

/// For each layer the row after the last one that it shows in: later layers hide what they cover whole.
std::vector<std::int64_t> endsOf(const std::vector<Layer>& layers) {
    std::vector<std::int64_t> ends(layers.size());
    std::map<std::int64_t, std::int64_t> hidden; // first row -> end, apart from each other
    for (auto i = layers.size(); i-- > 0;) {
        const Layer& layer = layers[i];
        std::int64_t end = layer.bottom();
        auto after = hidden.lower_bound(end);
        if (after != hidden.begin() && std::prev(after)->second >= end)
            end = std::prev(after)->first;
        ends[i] = std::max(end, layer.top);

        std::int64_t first = std::max(layer.top, layer.fadeEnd), last = layer.bottom();
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

void blendRow(std::uint8_t* background, const std::uint8_t* input, std::size_t bytes, std::uint32_t weight) {
    for (std::size_t i = 0; i < bytes; ++i)
        background[i] = blended(background[i], input[i], weight);
}

} // namespace

BandRenderer::BandRenderer(std::vector<Layer> layers, std::int64_t width)
    : layers_(std::move(layers)), width_(static_cast<std::size_t>(width)), end_(endsOf(layers_)),
      byTop_(layers_.size()), scratch_(4 * width_) {
    std::iota(byTop_.begin(), byTop_.end(), 0);
    std::ranges::stable_sort(byTop_, std::greater(),
                             [&](std::ptrdiff_t i) { return layers_[static_cast<std::size_t>(i)].top; });
}

std::expected<void, ImageError> BandRenderer::draw(std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    for (const std::int64_t end = row_ + count; row_ < end;) {
        advanceTo(row_);
        const Composition composed = composition(row_);
        // Rows that are made up alike are read together, straight to where they belong; fades go row by row.
        const std::int64_t length = composed.fading.empty() ? std::min(end, nextChange(row_)) - row_ : 1;
        if (composed.base < 0) {
            for (std::int64_t i = 0; i < length; ++i)
                std::memset(rows + stride * static_cast<std::size_t>(i), 0, 4 * width_);
        } else if (auto result = read(composed.base, row_, rows, stride, length); !result) {
            return result;
        }
        for (const std::ptrdiff_t i : composed.fading) {
            if (auto result = read(i, row_, scratch_.data(), 0, 1); !result)
                return result;
            const Layer& layer = layers_[static_cast<std::size_t>(i)];
            blendRow(rows, scratch_.data(), 4 * width_, gradientWeight(row_, layer.fadeStart, layer.fadeEnd));
        }
        row_ += length;
        rows += stride * static_cast<std::size_t>(length);
    }
    return {};
}

/// Takes up the layers that begin above or at `row` and drops those that show no more.
void BandRenderer::advanceTo(std::int64_t row) {
    while (!byTop_.empty() && layers_[static_cast<std::size_t>(byTop_.back())].top <= row) {
        active_.insert(std::ranges::upper_bound(active_, byTop_.back()), byTop_.back());
        byTop_.pop_back();
    }
    std::erase_if(active_, [&](std::ptrdiff_t i) {
        const bool isOver = end_[static_cast<std::size_t>(i)] <= row;
        if (isOver)
            open_.erase(i);
        return isOver;
    });
}

BandRenderer::Composition BandRenderer::composition(std::int64_t row) const {
    Composition composed;
    for (auto at = active_.rbegin(); at != active_.rend(); ++at) {
        const Layer& layer = layers_[static_cast<std::size_t>(*at)];
        const bool isLowest = std::next(at) == active_.rend(); // nothing to fade over: it shows whole
        if (isLowest || row >= layer.fadeEnd) {
            composed.base = *at;
            break;
        }
        if (row >= layer.fadeStart)
            composed.fading.push_back(*at);
    }
    std::ranges::reverse(composed.fading);
    return composed;
}

/// The first row after `row` that may be made up otherwise.
std::int64_t BandRenderer::nextChange(std::int64_t row) const {
    std::int64_t next = std::numeric_limits<std::int64_t>::max();
    const auto consider = [&](std::int64_t change) {
        if (change > row)
            next = std::min(next, change);
    };
    if (!byTop_.empty())
        consider(layers_[static_cast<std::size_t>(byTop_.back())].top);
    for (const std::ptrdiff_t i : active_) {
        consider(layers_[static_cast<std::size_t>(i)].fadeStart);
        consider(layers_[static_cast<std::size_t>(i)].fadeEnd);
        consider(end_[static_cast<std::size_t>(i)]);
    }
    return next;
}

std::expected<void, ImageError> BandRenderer::read(std::ptrdiff_t index, std::int64_t row, std::uint8_t* rows,
                                                   std::size_t stride, std::int64_t count) {
    const Layer& layer = layers_[static_cast<std::size_t>(index)];
    auto open = open_.find(index);
    if (open == open_.end()) {
        auto reader = layer.image.reader();
        if (!reader)
            return std::unexpected(reader.error());
        open = open_.emplace(index, Open{std::move(*reader), layer.top}).first;
    }
    auto& [reader, next] = open->second;
    if (next < row)
        if (auto skipped = reader->skip(row - next); !skipped)
            return skipped;
    next = row + count;
    return reader->read(rows, stride, count);
}

} // namespace platform::ci
