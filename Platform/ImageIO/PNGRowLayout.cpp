#include "Platform/ImageIO/PNGRowLayout.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

namespace platform::png {

namespace {

/// Opaque pixels of three bytes, with room for a fourth behind the last one.
void expandColorsPlainly(const std::uint8_t* row, std::size_t count, std::uint8_t* pixels) {
    for (std::size_t x = 0; x < count; ++x, pixels += 4) {
        std::memcpy(pixels, row + 3 * x, 4); // one more, overwritten: four bytes move faster than three
        pixels[3] = 255;
    }
}

#ifdef __x86_64__
/// The same, four pixels at a time.
[[gnu::target("ssse3")]] void expandColorsInFours(const std::uint8_t* row, std::size_t count, std::uint8_t* pixels) {
    using Bytes [[gnu::vector_size(16)]] = std::uint8_t;
    using Words [[gnu::vector_size(16)]] = std::uint32_t;
    std::size_t x = 0;
    for (; x + 6 <= count; x += 4) { // sixteen bytes are read, of which twelve count
        Bytes bytes;
        std::memcpy(&bytes, row + 3 * x, sizeof bytes);
        bytes = __builtin_shufflevector(bytes, bytes, 0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11);
        const Words opaque = std::bit_cast<Words>(bytes) | 0xff000000u;
        std::memcpy(pixels + 4 * x, &opaque, sizeof opaque);
    }
    expandColorsPlainly(row + 3 * x, count - x, pixels + 4 * x);
}
#endif

void expandColors(const std::uint8_t* row, std::size_t count, std::uint8_t* pixels) {
#ifdef __x86_64__
    if (__builtin_cpu_supports("ssse3"))
        return expandColorsInFours(row, count, pixels);
#endif
    expandColorsPlainly(row, count, pixels);
}

} // namespace

std::size_t RowLayout::pixelBytes() const {
    switch (colorType) {
    case ColorType::grey:
    case ColorType::palette:
        break;
    case ColorType::greyAlpha:
        return 2;
    case ColorType::color:
        return 3;
    case ColorType::colorAlpha:
        return 4;
    }
    return 1;
}

bool RowLayout::holds(const std::uint8_t* row) const {
    if (colorType != ColorType::palette || entries == std::size_t{1} << bitDepth)
        return true;
    std::size_t largest = 0;
    for (std::size_t x = 0; x < width; ++x)
        largest = std::max(largest, indexAt(row, x));
    return largest < entries;
}

void RowLayout::expand(const std::uint8_t* row, std::uint8_t* pixels) const {
    switch (colorType) {
    case ColorType::grey:
        for (std::size_t x = 0; x < width; ++x, pixels += 4) {
            pixels[0] = pixels[1] = pixels[2] = row[x];
            pixels[3] = 255;
        }
        return;
    case ColorType::greyAlpha:
        for (std::size_t x = 0; x < width; ++x, pixels += 4) {
            pixels[0] = pixels[1] = pixels[2] = row[2 * x];
            pixels[3] = row[2 * x + 1];
        }
        return;
    case ColorType::palette:
        for (std::size_t x = 0; x < width; ++x)
            std::memcpy(pixels + 4 * x, palette[indexAt(row, x)].data(), 4);
        return;
    case ColorType::color:
        expandColors(row, width, pixels);
        return;
    case ColorType::colorAlpha:
        std::memcpy(pixels, row, 4 * width);
        return;
    }
}

} // namespace platform::png
