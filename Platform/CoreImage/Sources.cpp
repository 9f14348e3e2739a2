#include "Platform/CoreImage/Sources.hpp"

#include "Platform/CoreGraphics/ColorConversion.hpp"
#include "Platform/CoreImage/Node.hpp"

#include <algorithm>
#include <unordered_set>

namespace platform::ci {

std::vector<const Node*> sourcesOf(const CIImage& image) {
    std::vector<const Node*> sources, left{image.node().get()};
    std::unordered_set<const Node*> seen;
    while (!left.empty()) {
        const Node* node = left.back();
        left.pop_back();
        if (!seen.insert(node).second)
            continue;
        if (std::holds_alternative<Node::Source>(node->kind)) {
            sources.push_back(node);
        } else if (const auto* moved = std::get_if<Node::Moved>(&node->kind)) {
            left.push_back(moved->image.get());
        } else if (const auto* blend = std::get_if<Node::Blend>(&node->kind)) {
            left.push_back(blend->input.get());
            left.push_back(blend->background.get());
        }
    }
    return sources;
}

CGColorSpace commonColorSpace(const std::vector<const Node*>& sources) {
    const auto spaceOf = [](const Node* node) { return std::get<Node::Source>(node->kind).image.colorSpace(); };
    if (sources.empty())
        return CGColorSpace::sRGB();
    const CGColorSpace first = spaceOf(sources.front());
    const bool common = std::ranges::all_of(sources, [&](const Node* node) { return spaceOf(node) == first; });
    return common ? first : CGColorSpace::sRGB();
}

CGImage sourceIn(const CGColorSpace& space, const CGImage& image) {
    return image.colorSpace() == space ? image : convertedToSRGB(image);
}

} // namespace platform::ci
