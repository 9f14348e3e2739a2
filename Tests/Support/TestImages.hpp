#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"

#include <cstring>
#include <functional>
#include <random>

namespace platform {

/// A resident image whose pixel at (x, y) is `color(x, y)`, as 0xRRGGBBAA.
inline CGImage imageOf(std::int64_t width, std::int64_t height,
                       const std::function<std::uint32_t(std::int64_t, std::int64_t)>& color, bool opaque = true,
                       CGColorSpace space = {}) {
    Bitmap pixels(width, height);
    for (std::int64_t y = 0; y < height; ++y)
        for (std::int64_t x = 0; x < width; ++x) {
            const std::uint32_t pixel = color(x, y);
            for (int channel = 0; channel < 4; ++channel)
                pixels.row(y)[4 * x + channel] = static_cast<std::uint8_t>(pixel >> (24 - 8 * channel));
        }
    return CGImage(std::move(pixels), opaque, std::move(space));
}

/// Noise: premultiplied, opaque or not.
inline CGImage noiseImage(std::int64_t width, std::int64_t height, std::mt19937& random, bool opaque = true) {
    return imageOf(
        width, height,
        [&](std::int64_t, std::int64_t) {
            const std::uint32_t alpha = opaque ? 255 : random() % 256;
            const auto channel = [&] { return random() % (alpha + 1); };
            return channel() << 24 | channel() << 16 | channel() << 8 | alpha;
        },
        opaque);
}

inline bool samePixels(const CGImage& a, const CGImage& b) {
    const auto x = a.decoded(), y = b.decoded();
    return x && y && x->width() == y->width() && x->height() == y->height() &&
           std::memcmp(x->pixels()->row(0), y->pixels()->row(0), x->pixels()->bytes().size()) == 0;
}

} // namespace platform
