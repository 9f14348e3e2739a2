#include "Platform/ImageIO/PNGFilters.hpp"

#include "Platform/ImageIO/PNGFiltersPlain.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

namespace platform::png {

namespace {

// A pixel's channels side by side, each with room for differences. The vectors of GCC and clang suffice here: the
// instructions that every machine of the architecture has do this as well as newer ones, so nothing is dispatched.
using Lanes [[gnu::vector_size(16)]] = std::int16_t;
using Bytes [[gnu::vector_size(16)]] = std::uint8_t;

/// The upper lanes are idle.
Lanes load(const std::uint8_t* pixel) {
    std::uint32_t channels = 0;
    std::memcpy(&channels, pixel, sizeof channels);
    using Words [[gnu::vector_size(16)]] = std::uint32_t;
    const auto bytes = std::bit_cast<Bytes>(Words{channels});
    constexpr bool isLittle = std::endian::native == std::endian::little;
    return std::bit_cast<Lanes>(__builtin_shufflevector(isLittle ? bytes : Bytes{}, isLittle ? Bytes{} : bytes, 0, 16,
                                                        1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
}

template <std::size_t bytes>
void store(Lanes lanes, std::uint8_t* pixel) {
    using Channels [[gnu::vector_size(8)]] = std::uint8_t;
    const auto channels = __builtin_convertvector(lanes, Channels);
    std::memcpy(pixel, &channels, bytes);
}

/// The one of `left`, `up` and `upLeft` that is nearest to left + up - upLeft, found without distances: the sum lies
/// beyond `left` and `up` on the side away from `upLeft`, or between them.
constexpr auto nearestToSum = [](auto left, decltype(left) up, decltype(left) upLeft) {
    using T = decltype(left);
    const auto threshold = static_cast<T>(3 * upLeft - up - left);
    const T low = left < up ? left : up, high = left < up ? up : left;
    const T notBelow = threshold >= high ? low : upLeft;
    return threshold <= low ? high : notBelow;
};

/// `predict(left, up, upLeft)` pixel by pixel; each needs its left neighbour's values. Four bytes move faster than
/// three: the next pixel is loaded before its first byte is overwritten.
template <std::size_t pixelBytes, class Predict>
void unfilterPixels(std::uint8_t* row, const std::uint8_t* above, std::size_t size, Predict predict) {
    if (size == 0)
        return;
    Lanes left = {}, upLeft = {}, filtered = load(row);
    const auto unfilter = [&](std::size_t x) {
        const Lanes up = load(above + x);
        // Added as bytes: the sum is cut to one, and the upper halves stay zero.
        left = std::bit_cast<Lanes>(std::bit_cast<Bytes>(filtered) + std::bit_cast<Bytes>(predict(left, up, upLeft)));
        upLeft = up;
    };
    std::size_t x = 0;
    for (; x + pixelBytes < size; x += pixelBytes) {
        unfilter(x);
        filtered = load(row + x + pixelBytes);
        store<4>(left, row + x);
    }
    unfilter(x);
    store<pixelBytes>(left, row + x);
}

template <std::size_t pixelBytes>
void unfilterFromLeft(RowFilter filter, std::uint8_t* row, const std::uint8_t* above, std::size_t size) {
    if (filter == RowFilter::sub)
        unfilterPixels<pixelBytes>(row, above, size, [](Lanes left, Lanes, Lanes) { return left; });
    else if (filter == RowFilter::average)
        unfilterPixels<pixelBytes>(row, above, size, [](Lanes left, Lanes up, Lanes) { return (left + up) >> 1; });
    else if (filter == RowFilter::paeth)
        unfilterPixels<pixelBytes>(row, above, size, nearestToSum);
}

/// One loop over bytes that depend on nothing but values, in steps short enough for sums of 16 bits.
template <class Predict>
std::uint64_t filterBytes(const std::uint8_t* __restrict row, const std::uint8_t* __restrict above, std::size_t size,
                          std::size_t pixelBytes, std::uint8_t* __restrict result, Predict predict) {
    std::uint64_t total = 0;
    for (std::size_t start = pixelBytes; start < size; start += 256) {
        std::uint16_t sum = 0;
        const std::size_t end = std::min(size, start + 256);
        for (std::size_t x = start; x < end; ++x) {
            const auto left = static_cast<std::int16_t>(row[x - pixelBytes]);
            const auto up = static_cast<std::int16_t>(above[x]);
            const auto upLeft = static_cast<std::int16_t>(above[x - pixelBytes]);
            const auto byte = static_cast<std::uint8_t>(row[x] - predict(left, up, upLeft));
            result[x] = byte;
            sum = static_cast<std::uint16_t>(sum + std::min<std::uint8_t>(byte, static_cast<std::uint8_t>(-byte)));
        }
        total += sum;
    }
    return total;
}

} // namespace

void unfilterRow(RowFilter filter, std::uint8_t* row, const std::uint8_t* above, std::size_t size,
                 std::size_t pixelBytes) {
    if (filter == RowFilter::none)
        return;
    if (filter == RowFilter::up) {
        for (std::size_t x = 0; x < size; ++x)
            row[x] = static_cast<std::uint8_t>(row[x] + above[x]);
    } else if (pixelBytes == 3) {
        unfilterFromLeft<3>(filter, row, above, size);
    } else if (pixelBytes == 4) {
        unfilterFromLeft<4>(filter, row, above, size);
    } else {
        plain::unfilterRow(filter, row, above, size, pixelBytes);
    }
}

std::uint64_t filterRow(RowFilter filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t size,
                        std::size_t pixelBytes, std::uint8_t* result) {
    using Value = std::int16_t;
    const std::uint64_t first = plain::filterRow(filter, row, above, std::min(size, pixelBytes), pixelBytes, result);
    const auto rest = [&](auto predict) { return filterBytes(row, above, size, pixelBytes, result, predict); };
    switch (filter) {
    case RowFilter::none:
        break;
    case RowFilter::sub:
        return first + rest([](Value left, Value, Value) { return left; });
    case RowFilter::up:
        return first + rest([](Value, Value up, Value) { return up; });
    case RowFilter::average:
        return first + rest([](Value left, Value up, Value) { return static_cast<Value>((left + up) >> 1); });
    case RowFilter::paeth:
        return first + rest(nearestToSum);
    }
    return first + rest([](Value, Value, Value) { return Value{0}; });
}

} // namespace platform::png
