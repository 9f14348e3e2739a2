#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orbelquist {

/// A row is cut into 64 cells, from left to right, of equal width to a pixel.
inline constexpr int cellCount = 64;

/// Pixels are judged in blocks two cells wide and half a line of text high.
inline constexpr int blocksAcross = cellCount / 2;

/// The mean luma of each cell of a row.
using RowSignature = std::array<std::uint8_t, cellCount>;

/// One bit a cell, the leftmost lowest.
using CellMask = std::uint64_t;

/// What the pixels of each column of blocks add up to, from the first row down to some row: luma, and its square.
/// Modulo 2^32: the differences between two rows are exact for blocks of up to 65,536 pixels.
struct BlockTotals {
    std::array<std::uint32_t, blocksAcross> sum = {}, squares = {};

    bool operator==(const BlockTotals&) const = default;
};

/// What the matcher keeps of a screenshot: the luma of every pixel, and of every row a signature, which of its
/// cells carry information, and what the blocks down to it add up to. Rows from top to bottom.
struct Frame {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::unique_ptr<std::uint8_t[]> luma; ///< width * height, row after row
    std::vector<RowSignature> signature;  ///< one a row
    std::vector<CellMask> informed;       ///< one a row: cells whose luma varies within a few rows
    std::vector<BlockTotals> totals;      ///< of the rows above each row; one more, of all rows

    const std::uint8_t* row(std::int64_t y) const { return luma.get() + y * width; }
};

/// Sets each element of `edges` to 1 where luma changes sharply from one neighbour of the pixel to the other, else to
/// 0: the pixels of row `y` from column `left` on. The first and the last of them look up and down only.
void markEdges(const Frame& frame, std::int64_t y, std::int64_t left, std::span<std::uint8_t> edges);

/// The frame with every pixel averaged with its neighbours, 1 2 1 across and down: what coding noise and a shift by
/// half a row do to sharp edges weighs less in it.
Frame softened(const Frame& frame);

/// Builds a frame from its rows as they are decoded.
class FrameBuilder {
public:
    FrameBuilder(std::int64_t width, std::int64_t height);

    /// Takes the next rows, RGBA8, `stride` bytes apart.
    void add(const std::uint8_t* rows, std::size_t stride, std::int64_t count);

    /// Takes the next row, one byte of luma a pixel, from whoever writes it.
    template <class Write>
    void addLuma(Write write) {
        const std::span luma = nextRow();
        write(luma);
        summarize(luma);
    }

    /// After the last row.
    Frame finish();

private:
    std::span<std::uint8_t> nextRow();
    void summarize(std::span<const std::uint8_t> luma);

    Frame frame_;
};

} // namespace orbelquist
