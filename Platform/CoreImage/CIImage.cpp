#include "Platform/CoreImage/CIImage.hpp"

#include "Platform/CoreImage/CIFilter.hpp"
#include "Platform/CoreImage/Node.hpp"

#include <cmath>
#include <vector>

namespace platform {

using ci::Node;

namespace ci {

/// Nodes whose last owner is gone wait in a list until the outermost destructor has taken them apart one by one.
Node::~Node() {
    static thread_local std::vector<Pointer>* doomed = nullptr;
    std::vector<Pointer> mine;
    const bool outermost = !doomed;
    if (outermost)
        doomed = &mine;
    if (auto* moved = std::get_if<Moved>(&kind)) {
        doomed->push_back(std::move(moved->image));
    } else if (auto* blend = std::get_if<Blend>(&kind)) {
        doomed->push_back(std::move(blend->input));
        doomed->push_back(std::move(blend->background));
        doomed->push_back(std::move(blend->mask));
    }
    if (!outermost)
        return;
    while (!mine.empty()) {
        const Pointer next = std::move(mine.back()); // its destructor may add to the list
        mine.pop_back();
    }
    doomed = nullptr;
}

} // namespace ci

CIImage::CIImage() : node_(std::make_shared<const Node>(std::monostate(), CGRect())) {}

CIImage::CIImage(CGImage image) {
    const CGRect extent{{}, {static_cast<CGFloat>(image.width()), static_cast<CGFloat>(image.height())}};
    node_ = std::make_shared<const Node>(Node::Source{std::move(image)}, extent);
}

CIImage::CIImage(std::shared_ptr<const Node> node) : node_(std::move(node)) {}

CGRect CIImage::extent() const {
    return node_->extent;
}

CIImage CIImage::translatedBy(CGFloat x, CGFloat y) const {
    if (x == 0 && y == 0)
        return *this;
    return CIImage(std::make_shared<const Node>(Node::Moved{node_, std::llround(x), std::llround(y)},
                                                node_->extent.offsetBy(std::round(x), std::round(y))));
}

CIImage CILinearGradient::outputImage() const {
    return CIImage(std::make_shared<const Node>(
        Node::Gradient{std::llround(inputPoint0.y), std::llround(inputPoint1.y), inputColor0, inputColor1}, CGRect()));
}

CIImage CIBlendWithMask::outputImage() const {
    return CIImage(
        std::make_shared<const Node>(Node::Blend{inputImage.node(), inputBackgroundImage.node(), inputMaskImage.node()},
                                     inputImage.extent().unionWith(inputBackgroundImage.extent())));
}

} // namespace platform
