#include "Platform/ImageIO/PNGRowLayout.hpp"

#include <algorithm>
#include <cstring>

namespace platform::png {

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
        for (std::size_t x = 0; x < width; ++x, pixels += 4) {
            std::memcpy(pixels, row + 3 * x, 4); // one more, overwritten: four bytes move faster than three
            pixels[3] = 255;
        }
        return;
    case ColorType::colorAlpha:
        std::memcpy(pixels, row, 4 * width);
        return;
    }
}

} // namespace platform::png
