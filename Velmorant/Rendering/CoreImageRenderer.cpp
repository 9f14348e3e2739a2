#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/CoreImage/CIFilter.hpp"
#include "Velmorant/Rendering/ImageHelpers.hpp"
#include "Velmorant/Rendering/PictureRows.hpp"

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

CIImage CoreImageRenderer::recipe(const Alignment& alignment) const {
    std::vector<Alignment::Entry> loaded;
    std::vector<CIImage> images;
    for (const Alignment::Entry& entry : alignment.positions())
        if (const auto image = load(entry.first)) {
            loaded.push_back(entry);
            images.push_back(ksv_ciImage(*image));
        }
    if (images.empty())
        return CIImage();

    CIImage accumulated = images.front();
    // y points up: the first image's top edge, the canvas's row 0, stays at its height.
    const auto y = [top = images.front().extent().size.height](std::int64_t row) {
        return top - static_cast<CGFloat>(row);
    };
    const auto stack = pictureStack(Alignment(std::move(loaded), alignment.size()));
    for (std::size_t i = 1; i < images.size(); ++i) {
        const platform::CILinearGradient gradient{.inputPoint0 = {0, y(stack[i].fadeStart)},
                                                  .inputPoint1 = {0, y(stack[i].fadeEnd)},
                                                  .inputColor0 = platform::CIColor::black,
                                                  .inputColor1 = platform::CIColor::white};
        const CGFloat bottom = y(stack[i].top) - images[i].extent().size.height;
        accumulated = platform::CIBlendWithMask{.inputImage = images[i].translatedBy(0, bottom),
                                                .inputBackgroundImage = accumulated,
                                                .inputMaskImage = gradient.outputImage()}
                          .outputImage();
    }
    return accumulated.translatedBy(0, -accumulated.extent().minY());
}

} // namespace velmorant
