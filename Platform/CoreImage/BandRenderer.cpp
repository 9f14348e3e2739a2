#include "Platform/CoreImage/BandRenderer.hpp"

#include "Platform/CoreImage/Node.hpp"

#include <algorithm>
#include <cstring>

namespace platform::ci {

namespace {

using Done = std::expected<void, ImageError>;

template <class Result, class Projection>
std::vector<Result> mapped(const std::vector<Layer>& layers, Projection projection) {
    std::vector<Result> results;
    results.reserve(layers.size());
    std::ranges::transform(layers, std::back_inserter(results), projection);
    return results;
}

void blendRow(std::uint8_t* background, const std::uint8_t* input, std::size_t bytes, std::uint32_t weight) {
    for (std::size_t i = 0; i < bytes; ++i)
        background[i] = blended(background[i], input[i], weight);
}

} // namespace

BandRenderer::BandRenderer(const std::vector<Layer>& layers, std::int64_t width)
    : images_(mapped<CGImage>(layers, &Layer::image)), stack_(mapped<RowPlacement>(layers, &Layer::rows)),
      width_(static_cast<std::size_t>(width)), scratch_(4 * width_) {}

Done BandRenderer::draw(std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    for (const std::int64_t end = row_ + count; row_ < end;) {
        if (row_ >= stretch_.end) {
            stretch_ = stack_.at(row_);
            std::erase_if(open_, [&](const auto& open) { return stack_.lastRow(open.first) <= row_; });
        }
        const std::int64_t length = std::min(end, stretch_.end) - row_;
        if (auto drawn = drawAlike(rows, stride, length); !drawn)
            return drawn;
        row_ += length;
        rows += stride * static_cast<std::size_t>(length);
    }
    return {};
}

/// Rows of one stretch: the base straight to where it belongs, then what fades over it, row by row.
Done BandRenderer::drawAlike(std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    if (stretch_.base == RowStretch::none) {
        for (std::int64_t i = 0; i < count; ++i)
            std::memset(rows + stride * static_cast<std::size_t>(i), 0, 4 * width_);
    } else if (auto result = read(stretch_.base, row_, rows, stride, count); !result) {
        return result;
    }
    for (const std::ptrdiff_t layer : stretch_.fading) {
        const RowPlacement& placement = stack_.placements()[static_cast<std::size_t>(layer)];
        for (std::int64_t i = 0; i < count; ++i) {
            if (auto result = read(layer, row_ + i, scratch_.data(), 0, 1); !result)
                return result;
            blendRow(rows + stride * static_cast<std::size_t>(i), scratch_.data(), 4 * width_,
                     gradientWeight(row_ + i, placement.fadeStart, placement.fadeEnd));
        }
    }
    return {};
}

Done BandRenderer::read(std::ptrdiff_t layer, std::int64_t row, std::uint8_t* rows, std::size_t stride,
                        std::int64_t count) {
    auto open = open_.find(layer);
    if (open == open_.end()) {
        const auto place = static_cast<std::size_t>(layer);
        auto reader = images_[place].reader();
        if (!reader)
            return std::unexpected(reader.error());
        open = open_.emplace(layer, Open{std::move(*reader), stack_.placements()[place].top}).first;
    }
    auto& [reader, next] = open->second;
    if (next < row)
        if (auto skipped = reader->skip(row - next); !skipped)
            return skipped;
    next = row + count;
    return reader->read(rows, stride, count);
}

} // namespace platform::ci
