#include "Orbelquist/Frame.hpp"

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
    frame_.edges.resize(frame_.luma.size());
    frame_.signature.resize(static_cast<std::size_t>(height));
}

void FrameBuilder::add(const std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    for (; count > 0; --count, ++next_, rows += stride) {
        std::uint8_t* luma = frame_.luma.data() + next_ * frame_.width;
        lumaOf(rows, {luma, static_cast<std::size_t>(frame_.width)});
        frame_.signature[static_cast<std::size_t>(next_)] = cellMeans({luma, static_cast<std::size_t>(frame_.width)});
    }
}

void FrameBuilder::addLuma(const std::uint8_t* row) {
    std::uint8_t* luma = frame_.luma.data() + next_ * frame_.width;
    std::copy_n(row, frame_.width, luma);
    frame_.signature[static_cast<std::size_t>(next_)] = cellMeans({luma, static_cast<std::size_t>(frame_.width)});
    ++next_;
}

Frame softened(const Frame& frame) {
    FrameBuilder builder(frame.width, frame.height);
    const auto width = static_cast<std::size_t>(frame.width);
    std::vector<std::uint16_t> down(width);
    std::vector<std::uint8_t> row(width);
    for (std::int64_t y = 0; y < frame.height; ++y) {
        const std::uint8_t* above = frame.row(std::max<std::int64_t>(0, y - 1));
        const std::uint8_t *here = frame.row(y), *below = frame.row(std::min(frame.height - 1, y + 1));
        for (std::size_t x = 0; x < width; ++x)
            down[x] = static_cast<std::uint16_t>(above[x] + 2 * here[x] + below[x]);
        for (std::size_t x = 0; x < width; ++x) {
            const int left = down[x > 0 ? x - 1 : 0], right = down[x + 1 < width ? x + 1 : x];
            row[x] = static_cast<std::uint8_t>((left + 2 * down[x] + right + 8) / 16);
        }
        builder.addLuma(row.data());
    }
    return builder.finish();
}

Frame FrameBuilder::finish() {
    frame_.informed = informedCells(frame_.signature);
    for (std::int64_t y = 0; y < frame_.height; ++y) {
        const std::int64_t above = std::max<std::int64_t>(0, y - 1), below = std::min(frame_.height - 1, y + 1);
        markEdges(frame_.row(above), frame_.row(y), frame_.row(below),
                  {frame_.edges.data() + y * frame_.width, static_cast<std::size_t>(frame_.width)});
    }
    return std::move(frame_);
}

} // namespace orbelquist
