#include "Velmorant/Rendering/CoreGraphicsRenderer.hpp"

#include "Platform/UIKit/UIGraphicsImageContext.hpp"

namespace velmorant {

using platform::UIImage;

namespace {

constexpr double alpha = 0.8;
constexpr double screenScale = 0; // the device's

} // namespace

UIImage CoreGraphicsRenderer::render(const Alignment& alignment) const {
    auto context = platform::UIGraphicsImageContext::make(alignment.size().cg(), true, screenScale);
    if (!context)
        return UIImage(platform::CIImage());
    for (const auto& [item, position] : alignment.positions())
        loader_->loadImage(item, true, [&](const std::optional<UIImage>& image) {
            if (image)
                std::ignore = context->draw(*image, platform::CGPoint{0, static_cast<double>(position.offset)}, alpha);
        });
    return std::move(*context).image();
}

} // namespace velmorant
