#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/CoreImage/CIFilter.hpp"
#include "Velmorant/Rendering/ImageHelpers.hpp"

namespace velmorant {

using platform::CGFloat;
using platform::CIImage;
using platform::UIImage;

UIImage CoreImageRenderer::render(const Alignment& alignment) const {
    const auto stitched = stitchedEarlier(alignment);
    return stitched ? *stitched : render(alignment, true);
}

UIImage CoreImageRenderer::picture(const Alignment& alignment) const {
    const auto stitched = stitchedEarlier(alignment);
    return stitched ? *stitched : render(alignment, false);
}

std::optional<UIImage> CoreImageRenderer::stitchedEarlier(const Alignment& alignment) const {
    if (alignment.positions().empty())
        return std::nullopt;
    const StitchableItem& first = alignment.positions().front().first;
    return first.type == StitchableItem::ItemType::unstitched ? std::nullopt : load(first);
}

UIImage CoreImageRenderer::render(const Alignment& alignment, bool flatten) const {
    const CIImage picture = recipe(alignment);
    if (flatten)
        if (auto bitmap = platform::CIContext().createCGImage(picture, picture.extent()))
            return UIImage(std::move(*bitmap));
    return UIImage(picture);
}

std::optional<UIImage> CoreImageRenderer::load(const StitchableItem& item) const {
    std::optional<UIImage> image;
    loader_->loadImage(item, true, [&](std::optional<UIImage> loaded) { image = std::move(loaded); });
    return image;
}

/// y points up: the first image's top edge, the canvas's row 0, stays at y = `top`, its height.
CIImage CoreImageRenderer::recipe(const Alignment& alignment) const {
    CIImage accumulated;
    CGFloat top = 0;
    const Position* above = nullptr;
    for (const auto& [item, position] : alignment.positions()) {
        const auto loaded = load(item);
        if (!loaded)
            continue;
        const CIImage image = ksv_ciImage(*loaded);
        const CGFloat height = image.extent().size.height;
        if (!above) {
            accumulated = image;
            top = height;
        } else {
            const auto row = [&](std::int64_t canvasRow) { return top - static_cast<CGFloat>(canvasRow); };
            // The band counts from this image's top edge: `globalOverlap` from that of the image above.
            const std::int64_t fade = position.offset - above->offset;
            const platform::CILinearGradient gradient{.inputPoint0 = {0, row(fade + position.globalOverlap.lower)},
                                                      .inputPoint1 = {0, row(fade + position.globalOverlap.upper)},
                                                      .inputColor0 = platform::CIColor::black,
                                                      .inputColor1 = platform::CIColor::white};
            accumulated = platform::CIBlendWithMask{.inputImage = image.translatedBy(0, row(position.offset) - height),
                                                    .inputBackgroundImage = accumulated,
                                                    .inputMaskImage = gradient.outputImage()}
                              .outputImage();
        }
        above = &position;
    }
    return accumulated.translatedBy(0, -accumulated.extent().minY());
}

} // namespace velmorant
