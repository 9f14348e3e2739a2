#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/CoreImage/Node.hpp"
#include "Platform/CoreImage/Sources.hpp"

#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <ranges>
#include <unordered_map>
#include <vector>

namespace platform {

using ci::Node;

namespace {

using Pixel = std::array<std::uint8_t, 4>;

/// One evaluation: the sources, resident, and the answer for each pixel.
class Evaluation {
public:
    static std::expected<Evaluation, ImageError> of(const CIImage& image) {
        Evaluation evaluation;
        const auto nodes = ci::sourcesOf(image);
        const CGColorSpace space = ci::commonColorSpace(nodes);
        for (const Node* node : nodes) {
            auto pixels = ci::sourceIn(space, std::get<Node::Source>(node->kind).image).decoded();
            if (!pixels)
                return std::unexpected(pixels.error());
            evaluation.resident_.try_emplace(node, std::move(*pixels));
        }
        return evaluation;
    }

    /// The pixel whose lower-left corner is (x, y); nothing where the image has none. Follows the chain of backgrounds
    /// in a loop, so that it may be long.
    std::optional<Pixel> pixel(const Node* node, std::int64_t x, std::int64_t y) const {
        struct Over {
            Pixel input;
            std::uint32_t weight;
        };
        std::vector<Over> overlays; // from the top down
        std::optional<Pixel> result;
        while (node) {
            if (const auto* source = std::get_if<Node::Source>(&node->kind)) {
                result = sourcePixel(node, source->image, x, y);
                break;
            }
            if (const auto* moved = std::get_if<Node::Moved>(&node->kind)) {
                x -= moved->x;
                y -= moved->y;
                node = moved->image.get();
            } else if (const auto* blend = std::get_if<Node::Blend>(&node->kind)) {
                if (const auto input = pixel(blend->input.get(), x, y))
                    overlays.push_back({*input, weight(blend->mask.get(), y)});
                node = blend->background.get();
            } else {
                break; // empty, and gradients are masks alone
            }
        }
        for (const auto& over : std::views::reverse(overlays)) {
            if (!result)
                result = over.input;
            else
                for (std::size_t i = 0; i < 4; ++i)
                    (*result)[i] = ci::blended((*result)[i], over.input[i], over.weight);
        }
        return result;
    }

private:
    std::optional<Pixel> sourcePixel(const Node* node, const CGImage& image, std::int64_t x, std::int64_t y) const {
        if (x < 0 || y < 0 || x >= image.width() || y >= image.height())
            return std::nullopt;
        Pixel pixel;
        std::memcpy(pixel.data(), resident_.at(node).pixels()->row(image.height() - 1 - y) + 4 * x, 4);
        return pixel;
    }

    /// A mask's value at the pixel row whose lower edge is `y`.
    static std::uint32_t weight(const Node* mask, std::int64_t y) {
        while (const auto* moved = std::get_if<Node::Moved>(&mask->kind)) {
            y -= moved->y;
            mask = moved->image.get();
        }
        const auto* gradient = std::get_if<Node::Gradient>(&mask->kind);
        if (!gradient)
            return 0; // no mask shows no input
        const std::uint32_t toColor1 = ci::gradientWeight(-y - 1, -gradient->y0, -gradient->y1); // rows count downwards
        if (gradient->color0 == gradient->color1)
            return gradient->color0 == CIColor::white ? ci::wholeWeight : 0;
        return gradient->color1 == CIColor::white ? toColor1 : ci::wholeWeight - toColor1;
    }

    std::unordered_map<const Node*, CGImage> resident_;
};

} // namespace

std::expected<CGImage, ImageError> evaluatePlainly(const CIImage& image, const CGRect& extent) {
    const auto evaluation = Evaluation::of(image);
    if (!evaluation)
        return std::unexpected(evaluation.error());
    const auto format = CIContext().format(image, extent);
    Bitmap pixels(format.width, format.height);
    const std::int64_t left = std::llround(extent.minX()), top = std::llround(extent.maxY());
    for (std::int64_t row = 0; row < format.height; ++row)
        for (std::int64_t column = 0; column < format.width; ++column) {
            const Pixel pixel = evaluation->pixel(image.node().get(), left + column, top - 1 - row).value_or(Pixel{});
            std::memcpy(pixels.row(row) + 4 * column, pixel.data(), 4);
        }
    return CGImage(std::move(pixels), format.opaque, format.colorSpace);
}

} // namespace platform
