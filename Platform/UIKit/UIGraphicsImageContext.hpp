#pragma once

#include "Platform/CoreGraphics/Bitmap.hpp"
#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/CoreGraphics/ImageError.hpp"
#include "Platform/UIKit/UIImage.hpp"

#include <cstdint>
#include <expected>
#include <optional>

namespace platform {

/// A bitmap to draw images on. Its coordinates are points, from the upper left corner, y downwards. One thread at a
/// time.
///
/// Colour: a picture of one colour space keeps its values and that space; once a second one comes, all is sRGB.
class UIGraphicsImageContext {
public:
    /// `scale` pixels a point; 0 for the device's screen scale. An opaque bitmap is black at first, another one
    /// transparent. Fails with `tooLarge` or `outOfMemory`.
    [[nodiscard]] static std::expected<UIGraphicsImageContext, ImageError> make(const CGSize& size, bool opaque,
                                                                                CGFloat scale);

    /// Draws `image`, upright and at its own size, with its upper left corner at `point`, over what is there. `alpha`
    /// from 0 to 1. Where the image cannot be read on, the rows above stay drawn.
    [[nodiscard]] std::expected<void, ImageError> draw(const UIImage& image, const CGPoint& point, CGFloat alpha = 1);

    /// The same, stretched into `rect`, whose edges are rounded to whole pixels.
    [[nodiscard]] std::expected<void, ImageError> draw(const UIImage& image, const CGRect& rect, CGFloat alpha = 1);

    /// What was drawn; ends the context.
    UIImage image() &&;

private:
    UIGraphicsImageContext(Bitmap pixels, bool opaque, CGFloat scale)
        : pixels_(std::move(pixels)), opaque_(opaque), scale_(scale) {}

    CGImage matched(const CGImage& image);
    void drawRow(const std::uint8_t* row, std::int64_t width, std::int64_t x, std::int64_t y, std::uint32_t alpha);

    Bitmap pixels_;
    bool opaque_;
    CGFloat scale_;
    std::optional<CGColorSpace> space_; ///< of what was drawn so far
};

} // namespace platform
