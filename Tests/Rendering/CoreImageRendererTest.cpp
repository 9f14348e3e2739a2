#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include "Tests/Support/ImageLoader.hpp"

#include <gtest/gtest.h>

namespace velmorant {

using platform::CGImage;
using platform::UIImage;
using enum StitchableItem::ItemType;

namespace {

StitchableItem item(std::string id, StitchableItem::ItemType type = unstitched) {
    return {std::move(id), platform::Date{0}, {2, 10, 1}, type};
}

class CoreImageRendererTest : public testing::Test {
protected:
    /// A flat image.
    void add(const std::string& id, std::int64_t height, std::uint32_t level) {
        loader->images.emplace(id, UIImage(platform::imageOf(2, height, [&](std::int64_t, std::int64_t) {
                                   return level << 24 | level << 16 | level << 8 | 0xffu;
                               })));
    }

    /// The red value of each row.
    std::vector<int> rows(const Alignment& alignment) {
        const UIImage image = CoreImageRenderer(loader).render(alignment);
        std::vector<int> levels;
        for (std::int64_t y = 0; y < image.cgImage()->height(); ++y)
            levels.push_back(image.cgImage()->pixels()->row(y)[3] == 0 ? -1 : image.cgImage()->pixels()->row(y)[0]);
        return levels;
    }

    std::shared_ptr<ImageLoader> loader = std::make_shared<ImageLoader>();
};

} // namespace

TEST_F(CoreImageRendererTest, FadesOverTheBandCountedFromTheNewImagesTop) {
    add("a", 10, 0);
    add("b", 10, 200);
    // b lies at row 6 and fades in over its rows 1 and 2: canvas rows 7 and 8, with weights 1/4 and 3/4.
    const Alignment alignment({{item("b"), {6, {1, 3}, {1, 3}}}, {item("a"), {0, {0, 1}, {0, 1}}}}, {2, 16, 1});
    EXPECT_EQ(rows(alignment), (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 50, 150, 200, 200, 200, 200, 200, 200, 200}));
}

TEST_F(CoreImageRendererTest, PlacesImagesOfAnyHeightByTheirTopEdges) {
    add("a", 4, 10);
    add("b", 7, 20);
    add("c", 3, 30);
    // c ends above b: b's last row shows below it. b is c's neighbour above, at row 2.
    const Alignment alignment(
        {{item("a"), {0, {0, 1}, {0, 1}}}, {item("b"), {2, {0, 0}, {0, 0}}}, {item("c"), {5, {1, 1}, {3, 3}}}},
        {2, 8, 1});
    EXPECT_EQ(rows(alignment), (std::vector<int>{10, 10, 20, 20, 20, 20, 30, 30, 20}));
}

TEST_F(CoreImageRendererTest, LeavesOutWhatCannotBeLoaded) {
    add("a", 3, 10);
    add("c", 3, 30);
    const Alignment alignment(
        {{item("a"), {0, {0, 1}, {0, 1}}}, {item("b"), {2, {0, 1}, {0, 1}}}, {item("c"), {5, {0, 1}, {2, 3}}}},
        {2, 8, 1});
    EXPECT_EQ(rows(alignment), (std::vector<int>{10, 10, 10, -1, -1, 30, 30, 30}));
}

TEST_F(CoreImageRendererTest, AnswersAStitchedImageAsLoadedAndOthersFlattenedOrNot) {
    add("a", 10, 40);
    const auto alone = [&](StitchableItem::ItemType type) {
        return Alignment({{item("a", type), {0, {0, 10}, {0, 10}}}}, {2, 10, 1});
    };
    const CoreImageRenderer renderer(loader);
    const CGImage& original = *loader->images.at("a").cgImage();
    EXPECT_EQ(*renderer.render(alone(prestitched)).cgImage(), original);
    EXPECT_EQ(*renderer.render(alone(prestitchedWithWatermark)).cgImage(), original);

    const UIImage flat = renderer.render(alone(unstitched));
    EXPECT_FALSE(*flat.cgImage() == original);
    EXPECT_TRUE(samePixels(*flat.cgImage(), original));
    EXPECT_EQ(flat.scale(), 1);
    EXPECT_TRUE(renderer.render(alone(unstitched), false).ciImage());
    EXPECT_TRUE(renderer.render(Alignment({}, {}), false).ciImage()->extent().isEmpty());
}

} // namespace velmorant
