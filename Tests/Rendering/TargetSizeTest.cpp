#include "Tests/Support/ImageLoader.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Velmorant/Rendering/CoreGraphicsRenderer.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"
#include "Velmorant/Rendering/ImageHelpers.hpp"
#include "Velmorant/Rendering/RenderCache.hpp"

#include <gtest/gtest.h>

namespace velmorant {

using platform::CGImage;
using platform::UIImage;

namespace {

constexpr std::int64_t width = 100, height = 250, step = 150;

/// `count` screenshots, each `step` rows below the one before.
Alignment stack(std::int64_t count) {
    std::vector<Alignment::Entry> positions;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t above = i == 0 ? 0 : step;
        positions.emplace_back(StitchableItem(std::to_string(i + 1), platform::Date{0}, {width, height, 1},
                                              StitchableItem::ItemType::unstitched),
                               Position{i * step, {above, above + 20}, {i * step, i * step + 20}});
    }
    return Alignment(std::move(positions), {width, (count - 1) * step + height, 1});
}

PixelSize pixels(const UIImage& image) {
    return {image.cgImage()->width(), image.cgImage()->height(), static_cast<std::int64_t>(image.scale())};
}

class TargetSize : public testing::Test {
protected:
    /// Screenshots whose red and green are their number times ten.
    TargetSize() {
        for (std::uint32_t level = 10; level <= 60; level += 10)
            loader->images.emplace(std::to_string(level / 10),
                                   UIImage(platform::imageOf(
                                       width, height, [=](auto, auto) { return level << 24 | level << 16 | 0xffu; })));
    }

    const platform::TestDevice device;
    const std::shared_ptr<ImageLoader> loader = std::make_shared<ImageLoader>();
    const CoreImageRenderer blend{loader};
    const CoreGraphicsRenderer overlay{loader};
};

} // namespace

TEST_F(TargetSize, FitsTheWidthCutsOffTheHeightAndLoadsOnlyWhatShows) {
    struct Case {
        PixelSize target, expected;
        std::set<std::string> loaded;
    };
    const Alignment alignment = stack(6); // 1000 rows
    const std::set<std::string> all{"1", "2", "3", "4", "5", "6"};
    for (const auto& [target, expected, loaded] : std::vector<Case>{
             {{50, 50, 1}, {50, 50, 1}, {"1"}},
             {{50, 100, 1}, {50, 100, 1}, {"1", "2"}},
             {{50, 499, 1}, {50, 499, 1}, all},
             {{50, 500, 1}, {50, 500, 1}, all},
             {{50, 8000, 1}, {50, 500, 1}, all},
             {{200, 100, 1}, {200, 100, 1}, {"1"}},
             {{1, 1, 1}, {1, 1, 1}, {"1"}},
             {{0, 100, 1}, {0, 0, 1}, {}},
             {{50, 0, 1}, {50, 0, 1}, {}},
         })
        for (const Renderer* renderer : std::initializer_list<const Renderer*>{&blend, &overlay}) {
            loader->loaded.clear();
            const UIImage image = renderer->render(alignment, target);
            SCOPED_TRACE(std::to_string(target.width) + "x" + std::to_string(target.height));
            EXPECT_EQ(image.cgImage() ? pixels(image) : PixelSize(0, 0, 1), expected);
            EXPECT_EQ(loader->loaded, loaded);
        }
    EXPECT_EQ(blend.render(Alignment({}, {0, 10, 1}), {50, 50, 1}).size(), platform::CGSize());
}

TEST_F(TargetSize, ScalesTheSameWhetherDrawnFirstOrNot) {
    const Alignment alignment = stack(3);
    const UIImage whole = blend.render(alignment);
    const UIImage inOneGo = blend.render(alignment, {37, 1000, 1});
    EXPECT_TRUE(samePixels(*inOneGo.cgImage(), *ksv_resizing(whole, pixels(inOneGo)).cgImage()));
    EXPECT_TRUE(samePixels(*blend.render(alignment, alignment.size()).cgImage(), *whole.cgImage()));
}

TEST_F(TargetSize, OverlaysShowBothScreenshots) {
    loader->images.erase("3");
    const CGImage image = *overlay.render(stack(3)).cgImage();
    const auto level = [&](std::int64_t row) { return static_cast<int>(image.pixels()->row(row)[0]); };
    EXPECT_TRUE(image.opaque());
    EXPECT_EQ(pixels(UIImage(image)), (PixelSize{width, 2 * step + height, 1}));
    EXPECT_EQ(level(149), 8);                  // 0.8 of 10 over black
    EXPECT_EQ(level(150), 18);                 // 0.8 of 20 over 0.2 of that
    EXPECT_EQ(level(399), 16);                 // and of it alone
    EXPECT_EQ(image.pixels()->row(400)[0], 0); // the third is missing
    EXPECT_EQ(image.pixels()->row(400)[3], 255);
}

TEST_F(TargetSize, HelpersConvertStretchAndCut) {
    const UIImage image(platform::imageOf(
        6, 4, [](std::int64_t x, std::int64_t y) { return static_cast<std::uint32_t>(x * 16 + y) << 24 | 0xffu; }));
    EXPECT_EQ(pixels(ksv_resizing(image, {100, 50, 2})), (PixelSize{200, 100, 2}));
    const UIImage cut = ksv_cropping(image, {{2, 1}, {100, 2}}, 3);
    EXPECT_EQ(pixels(cut), (PixelSize{4, 2, 3}));
    EXPECT_EQ(cut.cgImage()->pixels()->row(0)[0], 2 * 16 + 1);
    EXPECT_EQ(pixels(ksv_cropping(image, {{20, 20}, {5, 5}}, 1)), (PixelSize{0, 0, 1}));
    EXPECT_TRUE(samePixels(ksv_cgImage(UIImage(ksv_ciImage(image))), *image.cgImage()));
    EXPECT_EQ(pixels(*ksv_uiImage(ksv_ciImage(image), 2)), (PixelSize{6, 4, 2}));
}

TEST_F(TargetSize, TheCacheTellsSizesByTheirScale) {
    const UIImage image(platform::imageOf(1, 1, [](auto, auto) { return 0xffu; }));
    RenderCache cache;
    cache.clear();
    const RenderCache::CacheKey key{stack(2), {100, 100, 2}};
    EXPECT_FALSE(cache.image(key));
    cache.setImage(key, image);
    EXPECT_TRUE(cache.image({stack(2), {100, 100, 2}}));
    EXPECT_FALSE(cache.image({stack(2), {200, 200, 1}}));
    EXPECT_FALSE(cache.image({stack(3), {100, 100, 2}}));
    cache.setImage(key, std::nullopt);
    cache.setImage(key, std::nullopt);
    EXPECT_FALSE(cache.image(key));
}

} // namespace velmorant
