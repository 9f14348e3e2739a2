#pragma once

#include "Platform/CoreGraphics/CGGeometry.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"

#include <memory>

namespace platform {

namespace ci {
struct Node; // a step of a recipe; CoreImage's own
}

/// An immutable recipe for an image: a bitmap, a recipe moved, a gradient, a blend of two recipes. Nothing is drawn
/// until a `CIContext` renders it. A cheap handle over shared state. The y axis points up, units are pixels; an image
/// made from a bitmap has its lower-left corner at the origin.
class CIImage {
public:
    /// The empty image: nothing anywhere.
    CIImage();
    explicit CIImage(CGImage image);
    explicit CIImage(std::shared_ptr<const ci::Node> node);

    /// Where the image may have pixels. A gradient is without bounds and reports an empty extent.
    CGRect extent() const;

    /// This image moved by whole pixels, x to the right, y upwards.
    CIImage translatedBy(CGFloat x, CGFloat y) const;

    const std::shared_ptr<const ci::Node>& node() const { return node_; }

private:
    std::shared_ptr<const ci::Node> node_;
};

} // namespace platform
