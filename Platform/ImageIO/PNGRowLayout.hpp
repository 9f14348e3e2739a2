#pragma once

#include "Platform/ImageIO/PNGChunks.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

namespace platform::png {

/// How a row of one of the everyday kinds is stored, and what its values stand for.
struct RowLayout {
    ColorType colorType = ColorType::color;
    std::uint32_t bitDepth = 8;                                ///< 8, or of a palette 1, 2, 4 or 8
    std::size_t width = 0;                                     ///< in pixels
    std::size_t entries = 0;                                   ///< of the palette
    std::array<std::array<std::uint8_t, 4>, 256> palette = {}; ///< RGBA, not premultiplied

    /// Bytes of a pixel, rounded up.
    std::size_t pixelBytes() const;
    /// Bytes of a row without its filter.
    std::size_t rowBytes() const { return (width * pixelBytes() * bitDepth + 7) / 8; }

    /// Whether all of a row's values are in the palette.
    bool holds(const std::uint8_t* row) const;
    /// Turns a row into RGBA8, not premultiplied. Reads one byte behind the row.
    void expand(const std::uint8_t* row, std::uint8_t* pixels) const;

private:
    std::size_t indexAt(const std::uint8_t* row, std::size_t x) const {
        const std::size_t bit = x * bitDepth;
        return (row[bit / 8] >> (8 - bitDepth - bit % 8)) & ((1u << bitDepth) - 1);
    }
};

} // namespace platform::png
