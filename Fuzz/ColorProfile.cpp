#include "Platform/CoreGraphics/ColorConversion.hpp"

#include "Fuzz/Require.hpp"

// A colour profile converts an image or counts as sRGB; alpha stays, and premultiplied pixels stay so.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace platform;
    const auto profile = fuzz::bytesOf(data, size);
    Bitmap pixels(16, 16);
    for (std::size_t i = 0; i < pixels.bytes().size(); ++i)
        pixels.row(0)[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 - i / 8 : i / 16);
    const std::vector<std::uint8_t> before(pixels.bytes().begin(), pixels.bytes().end());
    const CGImage image(std::move(pixels), false, CGColorSpace::icc({profile.begin(), profile.end()}));
    const auto converted = convertedToSRGB(image).decoded();
    fuzz::require(converted.has_value() && converted->colorSpace().isSRGB());
    const std::uint8_t* byte = converted->pixels()->row(0);
    for (std::size_t i = 3; i < before.size(); i += 4)
        fuzz::require(byte[i] == before[i] && byte[i - 1] <= byte[i] && byte[i - 2] <= byte[i]);
    return 0;
}
