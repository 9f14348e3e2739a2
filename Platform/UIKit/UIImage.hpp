#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/CoreImage/CIImage.hpp"
#include "Platform/UIKit/ImageOrientation.hpp"

#include <optional>
#include <utility>

namespace platform {

/// A picture to show: a bitmap or a recipe, with the device pixels a point has and the way it is to be turned. An
/// immutable value.
class UIImage {
public:
    explicit UIImage(CGImage image, CGFloat scale = 1, ImageOrientation orientation = ImageOrientation::up)
        : cgImage_(std::move(image)), scale_(scale), orientation_(orientation) {}
    explicit UIImage(CIImage image, CGFloat scale = 1, ImageOrientation orientation = ImageOrientation::up)
        : ciImage_(std::move(image)), scale_(scale), orientation_(orientation) {}

    const std::optional<CGImage>& cgImage() const { return cgImage_; }
    const std::optional<CIImage>& ciImage() const { return ciImage_; }
    CGFloat scale() const { return scale_; }
    ImageOrientation imageOrientation() const { return orientation_; }

    /// In points, as shown: width and height change places for quarter turns.
    CGSize size() const {
        const CGSize pixels =
            cgImage_ ? CGSize{static_cast<CGFloat>(cgImage_->width()), static_cast<CGFloat>(cgImage_->height())}
                     : ciImage_->extent().size;
        const CGSize points{pixels.width / scale_, pixels.height / scale_};
        return isQuarterTurn(orientation_) ? CGSize{points.height, points.width} : points;
    }

private:
    std::optional<CGImage> cgImage_; // exactly one of the two is there
    std::optional<CIImage> ciImage_;
    CGFloat scale_;
    ImageOrientation orientation_;
};

} // namespace platform
