#include "Velmorant/Rendering/Renderer.hpp"

#include "Velmorant/Rendering/ImageHelpers.hpp"

namespace velmorant {

using platform::CGRect;
using platform::UIImage;

namespace {

/// The items that show in the upper part of that size, where they were.
Alignment restricted(const Alignment& alignment, const PixelSize& visible) {
    const CGRect shown{{0, 0}, visible.cg()};
    std::vector<Alignment::Entry> positions;
    for (const auto& [item, position] : alignment.positions()) {
        const CGRect band{{0, static_cast<double>(position.offset)},
                          {static_cast<double>(alignment.size().width), static_cast<double>(item.size().height)}};
        if (band.intersects(shown))
            positions.emplace_back(item, position);
    }
    return Alignment(std::move(positions), visible);
}

} // namespace

UIImage Renderer::render(const Alignment& alignment, const PixelSize& targetSize) const {
    if (alignment.size().width <= 0 || targetSize.width <= 0)
        return UIImage(platform::CIImage());
    const double ratio = static_cast<double>(targetSize.width) / static_cast<double>(alignment.size().width);
    const PixelSize visible = targetSize / ratio;
    const UIImage whole =
        picture(visible.height < alignment.size().height ? restricted(alignment, visible) : alignment);
    const auto height = static_cast<std::int64_t>(ratio * whole.size().height);
    UIImage resized = ksv_resizing(whole, {targetSize.width, height, targetSize.scale}, targetSize.height);

    const PixelSize wanted = targetSize.rescaled(1);
    if (PixelSize::cg(resized.size(), 1) == wanted)
        return resized;
    return ksv_cropping(resized, {{0, 0}, wanted.cg()}, targetSize.scale);
}

} // namespace velmorant
