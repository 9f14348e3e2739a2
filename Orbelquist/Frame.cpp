#include "Orbelquist/Frame.hpp"

#include "Orbelquist/Kernels/CompareCells.hpp"
#include "Orbelquist/Kernels/Edges.hpp"
#include "Orbelquist/Kernels/Luma.hpp"
#include "Orbelquist/Kernels/RowSummary.hpp"

#include <algorithm>
#include <utility>

namespace orbelquist {

namespace {

/// A cell carries information where its luma varies by more than this many levels within `reach` rows above and below:
/// more than what lossy coding does to a flat background, less than a hairline or faint text.
constexpr std::uint8_t informationLevels = 4;
constexpr std::int64_t reach = 4;

std::vector<CellMask> informedCells(const std::vector<RowSignature>& signature) {
    const auto height = static_cast<std::int64_t>(signature.size());
    std::vector<CellMask> informed;
    informed.reserve(signature.size());
    for (std::int64_t y = 0; y < height; ++y) {
        RowSignature least = signature[static_cast<std::size_t>(y)], most = least;
        for (std::int64_t near = std::max<std::int64_t>(0, y - reach); near <= std::min(height - 1, y + reach);
             ++near) {
            const RowSignature& row = signature[static_cast<std::size_t>(near)];
            for (std::size_t cell = 0; cell < cellCount; ++cell) {
                least[cell] = std::min(least[cell], row[cell]);
                most[cell] = std::max(most[cell], row[cell]);
            }
        }
        informed.push_back(~equalCells(least, most, informationLevels));
    }
    return informed;
}

} // namespace

FrameBuilder::FrameBuilder(std::int64_t width, std::int64_t height) {
    frame_.width = width;
    frame_.height = height;
    const auto rows = static_cast<std::size_t>(height);
    frame_.luma = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(width) * rows);
    frame_.signature.reserve(rows);
    frame_.totals.reserve(rows + 1);
    frame_.totals.emplace_back();
}

void FrameBuilder::add(const std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    for (; count > 0; --count, rows += stride)
        addLuma([&](std::span<std::uint8_t> luma) { lumaOf(rows, luma); });
}

std::span<std::uint8_t> FrameBuilder::nextRow() {
    const auto width = static_cast<std::size_t>(frame_.width);
    return {frame_.luma.get() + frame_.signature.size() * width, width};
}

void FrameBuilder::summarize(std::span<const std::uint8_t> luma) {
    const BlockTotals& above = frame_.totals.back(); // there is room for all: it stays where it is
    frame_.signature.push_back(summarizeRow(luma, above, frame_.totals.emplace_back()));
}

Frame FrameBuilder::finish() {
    frame_.informed = informedCells(frame_.signature);
    return std::move(frame_);
}

Frame softened(const Frame& frame) {
    FrameBuilder builder(frame.width, frame.height);
    for (std::int64_t y = 0; y < frame.height; ++y)
        builder.addLuma([&](std::span<std::uint8_t> luma) {
            soften(frame.row(std::max<std::int64_t>(0, y - 1)), frame.row(y),
                   frame.row(std::min(frame.height - 1, y + 1)), luma);
        });
    return builder.finish();
}

void markEdges(const Frame& frame, std::int64_t y, std::int64_t left, std::span<std::uint8_t> edges) {
    const std::int64_t above = std::max<std::int64_t>(0, y - 1), below = std::min(frame.height - 1, y + 1);
    markEdges(frame.row(above) + left, frame.row(y) + left, frame.row(below) + left, edges);
}

} // namespace orbelquist
