#include "Orbelquist/Frame.hpp"

#include "Orbelquist/Kernels/BlockTotals.hpp"
#include "Orbelquist/Kernels/CellMeans.hpp"
#include "Orbelquist/Kernels/Edges.hpp"

#include <algorithm>

namespace orbelquist {

namespace {

/// A cell carries information where its luma varies by more than this many levels within `reach` rows above and below:
/// more than what lossy coding does to a flat background, less than a hairline or faint text.
constexpr int informationLevels = 4;
constexpr std::int64_t reach = 4;

std::vector<CellMask> informedCells(const std::vector<RowSignature>& signature) {
    const auto height = static_cast<std::int64_t>(signature.size());
    std::vector<CellMask> informed(signature.size());
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
        for (std::size_t cell = 0; cell < cellCount; ++cell)
            informed[static_cast<std::size_t>(y)] |= CellMask{most[cell] - least[cell] > informationLevels} << cell;
    }
    return informed;
}

} // namespace

FrameBuilder::FrameBuilder(std::int64_t width, std::int64_t height) {
    frame_.width = width;
    frame_.height = height;
    frame_.luma.resize(static_cast<std::size_t>(width * height));
    frame_.signature.resize(static_cast<std::size_t>(height));
    frame_.totals.resize(static_cast<std::size_t>(height) + 1);
}

void FrameBuilder::add(const std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    for (; count > 0; --count, rows += stride) {
        const std::span luma(frame_.luma.data() + next_ * frame_.width, static_cast<std::size_t>(frame_.width));
        lumaOf(rows, luma);
        summarize(luma);
    }
}

void FrameBuilder::addLuma(const std::uint8_t* row) {
    const std::span luma(frame_.luma.data() + next_ * frame_.width, static_cast<std::size_t>(frame_.width));
    std::copy_n(row, frame_.width, luma.begin());
    summarize(luma);
}

void FrameBuilder::summarize(std::span<const std::uint8_t> luma) {
    const auto y = static_cast<std::size_t>(next_++);
    frame_.signature[y] = cellMeans(luma);
    addRow(luma, frame_.totals[y], frame_.totals[y + 1]);
}

Frame softened(const Frame& frame) {
    FrameBuilder builder(frame.width, frame.height);
    const auto width = static_cast<std::size_t>(frame.width);
    std::vector<std::uint16_t> down(width + 2); // of each column, with the outermost ones twice
    std::vector<std::uint8_t> row(width);
    for (std::int64_t y = 0; y < frame.height; ++y) {
        const std::uint8_t* above = frame.row(std::max<std::int64_t>(0, y - 1));
        const std::uint8_t *here = frame.row(y), *below = frame.row(std::min(frame.height - 1, y + 1));
        for (std::size_t x = 0; x < width; ++x)
            down[x + 1] = static_cast<std::uint16_t>(above[x] + 2 * here[x] + below[x]);
        down[0] = down[1], down[width + 1] = down[width];
        for (std::size_t x = 0; x < width; ++x)
            row[x] = static_cast<std::uint8_t>((down[x] + 2 * down[x + 1] + down[x + 2] + 8u) / 16u);
        builder.addLuma(row.data());
    }
    return builder.finish();
}

Frame FrameBuilder::finish() {
    frame_.informed = informedCells(frame_.signature);
    return std::move(frame_);
}

void markEdges(const Frame& frame, std::int64_t y, std::int64_t left, std::span<std::uint8_t> edges) {
    const std::int64_t above = std::max<std::int64_t>(0, y - 1), below = std::min(frame.height - 1, y + 1);
    markEdges(frame.row(above) + left, frame.row(y) + left, frame.row(below) + left, edges);
}

} // namespace orbelquist
