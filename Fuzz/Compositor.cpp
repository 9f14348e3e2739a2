#include "Platform/CoreImage/CIContext.hpp"
#include "Velmorant/Alignment/Loader.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include "Fuzz/Require.hpp"

#include <algorithm>
#include <vector>

// A few small screenshots at arbitrary offsets with arbitrary fades, drawn in bands and plainly: the same pixels. The
// first byte is the height of a band, then seven tell of each screenshot.

namespace {

using namespace platform;

class Images final : public velmorant::Loader {
public:
    void add(std::int64_t width, std::int64_t height, bool opaque, unsigned seed) {
        Bitmap pixels(width, height);
        std::uint8_t* bytes = pixels.row(0);
        for (std::size_t i = 0; i < pixels.bytes().size(); ++i)
            bytes[i] = static_cast<std::uint8_t>((i + 1) * (seed + 7) * 2654435761u >> 24);
        for (std::size_t i = 0; i < pixels.bytes().size(); i += 4) {
            bytes[i + 3] = opaque ? 255 : bytes[i + 3];
            for (std::size_t channel = 0; channel < 3; ++channel)
                bytes[i + channel] = std::min(bytes[i + channel], bytes[i + 3]);
        }
        images_.emplace_back(std::move(pixels), opaque);
    }
    void loadImage(const velmorant::StitchableItem& item, bool, const Completion& completion) override {
        completion(UIImage(images_[std::stoul(item.id)]));
    }

private:
    std::vector<CGImage> images_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmorant;
    if (size < 8)
        return 0;
    const auto images = std::make_shared<Images>();
    std::vector<Alignment::Entry> positions;
    const std::int64_t bandHeight = 1 + *data++ % 70;
    for (--size; size >= 7 && positions.size() < 6; data += 7, size -= 7) {
        const std::int64_t width = 1 + data[0] % 40, height = 1 + data[1] % 90;
        images->add(width, height, data[2] % 4 != 0, data[2]);
        const std::int64_t lower = data[5] % 100, upper = lower + data[6] % 40, offset = data[3] + data[4] % 2 * 100;
        positions.emplace_back(StitchableItem(std::to_string(positions.size()), Date{0}, {width, height, 1},
                                              StitchableItem::ItemType::unstitched),
                               Position{offset, {lower, upper}, {lower + data[4] / 2, upper + data[4] / 2}});
    }
    const Alignment alignment(std::move(positions), {40, 400, 1});
    const UIImage picture = CoreImageRenderer(images).render(alignment, false);
    const CIImage& recipe = *picture.ciImage();
    CGRect extent = recipe.extent();
    const auto plain = evaluatePlainly(recipe, extent);
    const auto drawn = CIContext({.bandHeight = bandHeight}).createCGImage(recipe, extent);
    fuzz::require(plain.has_value() && drawn.has_value());
    fuzz::require(plain->width() == drawn->width() && plain->height() == drawn->height());
    fuzz::require(std::ranges::equal(plain->pixels()->bytes(), drawn->pixels()->bytes()));
    return 0;
}
