#include "Platform/CoreGraphics/Premultiplication.hpp"

#include <algorithm>
#include <cstring>

namespace platform {

void premultiply(std::uint8_t* pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, pixels += 4) {
        if (pixels[3] == 255) // nearly all of a screenshot
            continue;
        for (int channel = 0; channel < 3; ++channel)
            pixels[channel] = static_cast<std::uint8_t>((pixels[channel] * pixels[3] + 127) / 255);
    }
}

void unpremultiply(const std::uint8_t* premultiplied, std::uint8_t* straight, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, premultiplied += 4, straight += 4) {
        const unsigned alpha = premultiplied[3];
        if (alpha == 255) { // nearly all of a screenshot
            std::memmove(straight, premultiplied, 4);
            continue;
        }
        for (int channel = 0; channel < 3; ++channel)
            straight[channel] = static_cast<std::uint8_t>(
                alpha == 0 ? 0u : std::min(255u, (premultiplied[channel] * 255u + alpha / 2) / alpha));
        straight[3] = static_cast<std::uint8_t>(alpha);
    }
}

} // namespace platform
