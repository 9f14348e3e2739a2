#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace orbelquist {

/// A row is cut into 64 cells, from left to right, of equal width to a pixel.
inline constexpr int cellCount = 64;

/// The mean luma of each cell of a row.
using RowSignature = std::array<std::uint8_t, cellCount>;

/// One bit a cell, the leftmost lowest.
using CellMask = std::uint64_t;

/// What the matcher keeps of a screenshot: the luma of every pixel and whether it lies on an edge, and of every row a
/// signature and which of its cells carry information. Rows from top to bottom.
struct Frame {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint8_t> luma;      ///< width * height, row after row
    std::vector<std::uint8_t> edges;     ///< as many: 1 where luma changes sharply from one neighbour to the other
    std::vector<RowSignature> signature; ///< one a row
    std::vector<CellMask> informed;      ///< one a row: cells whose luma varies within a few rows

    const std::uint8_t* row(std::int64_t y) const { return luma.data() + y * width; }
    const std::uint8_t* edgeRow(std::int64_t y) const { return edges.data() + y * width; }
};

/// The frame with every pixel averaged with its neighbours, 1 2 1 across and down: what coding noise and a shift by
/// half a row do to sharp edges weighs less in it.
Frame softened(const Frame& frame);

/// Builds a frame from its rows as they are decoded.
class FrameBuilder {
public:
    FrameBuilder(std::int64_t width, std::int64_t height);

    /// Takes the next rows, RGBA8, `stride` bytes apart.
    void add(const std::uint8_t* rows, std::size_t stride, std::int64_t count);

    void addLuma(const std::uint8_t* row);

    /// After the last row.
    Frame finish();

private:
    Frame frame_;
    std::int64_t next_ = 0;
};

} // namespace orbelquist
