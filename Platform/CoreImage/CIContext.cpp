#include "Platform/CoreImage/CIContext.hpp"

#include "Platform/CoreImage/BandRenderer.hpp"
#include "Platform/CoreImage/LayerStack.hpp"
#include "Platform/CoreImage/Node.hpp"
#include "Platform/CoreImage/Sources.hpp"

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

/// Whether the layers' images, all as wide as the picture, leave none of its rows uncovered.
bool coverAll(std::vector<ci::Layer> layers, std::int64_t height) {
    std::ranges::sort(layers, {}, [](const ci::Layer& layer) { return layer.rows.top; });
    std::int64_t covered = 0;
    for (const ci::Layer& layer : layers)
        if (layer.rows.top <= covered)
            covered = std::max(covered, layer.rows.bottom);
    return covered >= height;
}

} // namespace

CIContext::Format CIContext::format(const CIImage& image, const CGRect& extent) const {
    const auto sources = ci::sourcesOf(image);
    Format format{std::llround(extent.size.width), std::llround(extent.size.height), false,
                  ci::commonColorSpace(sources)};
    const bool allOpaque = std::ranges::all_of(
        sources, [](const ci::Node* node) { return std::get<ci::Node::Source>(node->kind).image.opaque(); });
    const auto layers = allOpaque ? ci::layersOf(image, extent, format.colorSpace) : std::nullopt;
    format.opaque = layers && coverAll(*layers, format.height);
    return format;
}

std::expected<void, ImageError> CIContext::render(const CIImage& image, const CGRect& extent,
                                                  const BandHandler& handler) const {
    const Format form = format(image, extent);
    const auto layers = ci::layersOf(image, extent, form.colorSpace);
    if (!layers) { // no stack of screenshots: rare, so the definition itself will do
        const auto whole = evaluatePlainly(image, extent);
        if (!whole)
            return std::unexpected(whole.error());
        return handler(whole->pixels()->row(0), whole->pixels()->stride(), form.height);
    }
    ci::BandRenderer renderer(*layers, form.width);
    Bitmap band(form.width, std::min(options_.bandHeight, form.height));
    for (std::int64_t row = 0; row < form.height; row += band.height()) {
        const std::int64_t count = std::min(band.height(), form.height - row);
        if (auto drawn = renderer.draw(band.row(0), band.stride(), count); !drawn)
            return drawn;
        if (auto handled = handler(band.row(0), band.stride(), count); !handled)
            return handled;
    }
    return {};
}

std::expected<CGImage, ImageError> CIContext::createCGImage(const CIImage& image, const CGRect& extent) const {
    const Format form = format(image, extent);
    const auto layers = ci::layersOf(image, extent, form.colorSpace);
    if (!layers)
        return evaluatePlainly(image, extent);
    ci::BandRenderer renderer(*layers, form.width);
    Bitmap pixels(form.width, form.height);
    if (auto drawn = renderer.draw(pixels.row(0), pixels.stride(), form.height); !drawn)
        return std::unexpected(drawn.error());
    return CGImage(std::move(pixels), form.opaque, form.colorSpace);
}

} // namespace platform
