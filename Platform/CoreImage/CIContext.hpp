#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/CoreImage/CIImage.hpp"

#include <cstdint>
#include <expected>
#include <functional>

namespace platform {

/// Draws recipes, in horizontal bands, top to bottom. A recipe is first compiled to a flat list of layers; a band
/// touches only the layers that can show in it, each source is decoded at most once and dropped after the last band
/// that needs it, so memory does not grow with the image's height. The result equals `evaluatePlainly` exactly,
/// whatever the bands.
///
/// Colour: sources of one colour space keep their values and the result carries that space; a mixture is converted to
/// sRGB. An immutable value; any thread, several renders at once.
class CIContext {
public:
    struct Options {
        std::int64_t bandHeight = 128; ///< rows a band, at least 1
    };

    /// What the bands of a recipe will be, known before anything is drawn.
    struct Format {
        std::int64_t width = 0;
        std::int64_t height = 0;
        bool opaque = false; ///< every row is covered and every source is opaque
        CGColorSpace colorSpace;
    };

    /// Takes the next rows, top to bottom: `rows` stays valid only during the call. An error ends the render.
    using BandHandler = std::function<std::expected<void, ImageError>(const std::uint8_t* rows, std::size_t stride,
                                                                      std::int64_t count)>;

    CIContext() = default;
    explicit CIContext(Options options) : options_(options) {}

    /// `extent` must have whole numbers.
    Format format(const CIImage& image, const CGRect& extent) const;

    /// Draws `extent` of `image` and hands it over in bands on the calling thread, the first row first. An error of a
    /// source or of the handler ends the render and is answered.
    [[nodiscard]] std::expected<void, ImageError> render(const CIImage& image, const CGRect& extent,
                                                         const BandHandler& handler) const;

    /// Draws `extent` of `image` into a resident bitmap.
    [[nodiscard]] std::expected<CGImage, ImageError> createCGImage(const CIImage& image, const CGRect& extent) const;

private:
    Options options_;
};

/// The definition of what is right: `extent` of `image`, evaluated pixel by pixel straight from the recipe, with every
/// source held in memory. Slow; for tests and for reading.
[[nodiscard]] std::expected<CGImage, ImageError> evaluatePlainly(const CIImage& image, const CGRect& extent);

} // namespace platform
