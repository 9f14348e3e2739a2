#pragma once

#include "Velmorant/Alignment/Loader.hpp"
#include "Velmorant/Rendering/Renderer.hpp"

#include <memory>

namespace velmorant {

/// The renderer that shows what an alignment did: every screenshot whole and slightly translucent, so that both show
/// where two overlap. An item whose image cannot be loaded is left out, and of one that cannot be read on, the rest.
class CoreGraphicsRenderer final : public Renderer {
public:
    explicit CoreGraphicsRenderer(std::shared_ptr<Loader> loader) : loader_(std::move(loader)) {}

    using Renderer::render;

    /// An opaque bitmap of the alignment's size in points, at the screen's scale.
    platform::UIImage render(const Alignment& alignment) const override;

private:
    std::shared_ptr<Loader> loader_;
};

} // namespace velmorant
