#pragma once

#include "Platform/ImageIO/PNGFilters.hpp"

#include <cstdlib>

/// The definitions that the fast row filters are held to, under the same names.
namespace platform::png::plain {

/// What `left`, `up` and `upLeft` foretell of a byte.
inline std::uint8_t prediction(RowFilter filter, int left, int up, int upLeft) {
    switch (filter) {
    case RowFilter::none:
        break;
    case RowFilter::sub:
        return static_cast<std::uint8_t>(left);
    case RowFilter::up:
        return static_cast<std::uint8_t>(up);
    case RowFilter::average:
        return static_cast<std::uint8_t>((left + up) / 2);
    case RowFilter::paeth: {
        const int sum = left + up - upLeft;
        const int toLeft = std::abs(sum - left), toUp = std::abs(sum - up), toUpLeft = std::abs(sum - upLeft);
        const int nearest = toLeft <= toUp && toLeft <= toUpLeft ? left : toUp <= toUpLeft ? up : upLeft;
        return static_cast<std::uint8_t>(nearest);
    }
    }
    return 0;
}

inline void unfilterRow(RowFilter filter, std::uint8_t* row, const std::uint8_t* above, std::size_t size,
                        std::size_t pixelBytes) {
    for (std::size_t x = 0; x < size; ++x) {
        const bool isFirst = x < pixelBytes;
        const int left = isFirst ? 0 : row[x - pixelBytes], upLeft = isFirst ? 0 : above[x - pixelBytes];
        row[x] = static_cast<std::uint8_t>(row[x] + prediction(filter, left, above[x], upLeft));
    }
}

inline std::uint64_t filterRow(RowFilter filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t size,
                               std::size_t pixelBytes, std::uint8_t* result) {
    std::uint64_t sum = 0;
    for (std::size_t x = 0; x < size; ++x) {
        const bool isFirst = x < pixelBytes;
        const int left = isFirst ? 0 : row[x - pixelBytes], upLeft = isFirst ? 0 : above[x - pixelBytes];
        result[x] = static_cast<std::uint8_t>(row[x] - prediction(filter, left, above[x], upLeft));
        sum += static_cast<std::uint64_t>(std::abs(static_cast<std::int8_t>(result[x])));
    }
    return sum;
}

} // namespace platform::png::plain
