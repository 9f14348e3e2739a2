#include "Platform/CoreImage/LayerStack.hpp"

#include "Platform/CoreImage/Node.hpp"
#include "Platform/CoreImage/Sources.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform::ci {

namespace {

/// A node below any number of moves, and how far they move it.
struct Placed {
    const Node* node;
    std::int64_t x, y;

    void passMoves() {
        while (const auto* moved = std::get_if<Node::Moved>(&node->kind)) {
            x += moved->x;
            y += moved->y;
            node = moved->image.get();
        }
    }
};

} // namespace

std::optional<std::vector<Layer>> layersOf(const CIImage& image, const CGRect& extent, const CGColorSpace& space) {
    const std::int64_t left = std::llround(extent.minX()), top = std::llround(extent.maxY());
    const std::int64_t width = std::llround(extent.size.width);
    std::vector<Layer> layers; // from the top down, until they are turned round

    const auto add = [&](const Placed& placed, std::int64_t fadeStart, std::int64_t fadeEnd) {
        const auto* source = std::get_if<Node::Source>(&placed.node->kind);
        if (!source || placed.x != left || source->image.width() != width)
            return false;
        const std::int64_t firstRow = top - (placed.y + source->image.height());
        layers.push_back({.image = sourceIn(space, source->image),
                          .rows = {firstRow, firstRow + source->image.height(), fadeStart, fadeEnd}});
        return true;
    };

    for (Placed at{image.node().get(), 0, 0};;) {
        at.passMoves();
        if (const auto* blend = std::get_if<Node::Blend>(&at.node->kind)) {
            Placed input{blend->input.get(), at.x, at.y}, mask{blend->mask.get(), at.x, at.y};
            input.passMoves();
            mask.passMoves();
            const auto* gradient = std::get_if<Node::Gradient>(&mask.node->kind);
            if (!gradient || gradient->color0 != CIColor::black || gradient->color1 != CIColor::white ||
                !add(input, top - (gradient->y0 + mask.y), top - (gradient->y1 + mask.y)))
                return std::nullopt;
            at.node = blend->background.get();
        } else if (std::holds_alternative<std::monostate>(at.node->kind)) {
            break;
        } else {
            constexpr auto always = std::numeric_limits<std::int64_t>::min();
            if (!add(at, always, always))
                return std::nullopt;
            break;
        }
    }
    std::ranges::reverse(layers);
    return layers;
}

} // namespace platform::ci
