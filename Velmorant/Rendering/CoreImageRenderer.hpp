#pragma once

#include "Velmorant/Alignment/Loader.hpp"
#include "Velmorant/Rendering/Renderer.hpp"

#include <memory>

namespace velmorant {

/// The renderer of finished pictures: stacks the screenshots from top to bottom and hides each seam by a cross-fade
/// over the band that the alignment recorded. Screenshots lie by their top edges: canvas row 0 is the first one's.
///
/// An item whose image cannot be loaded is left out: its rows show what lies behind them.
class CoreImageRenderer final : public Renderer {
public:
    explicit CoreImageRenderer(std::shared_ptr<Loader> loader) : loader_(std::move(loader)) {}

    using Renderer::render;

    /// The image as loaded where the first item is already stitched; otherwise a bitmap at scale 1. Where drawing
    /// fails, the recipe unflattened: whoever draws that meets the error.
    platform::UIImage render(const Alignment& alignment) const override;

    /// Without `flatten` the picture stays a recipe: nothing is drawn, and no more than headers are read.
    platform::UIImage render(const Alignment& alignment, bool flatten) const;

protected:
    platform::UIImage picture(const Alignment& alignment) const override;

private:
    std::optional<platform::UIImage> stitchedEarlier(const Alignment& alignment) const;
    std::optional<platform::UIImage> load(const StitchableItem& item) const;
    platform::CIImage recipe(const Alignment& alignment) const;

    std::shared_ptr<Loader> loader_;
};

} // namespace velmorant
