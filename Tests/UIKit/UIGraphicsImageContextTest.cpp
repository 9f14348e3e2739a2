#include "Platform/UIKit/UIGraphicsImageContext.hpp"

#include "Platform/CoreImage/CIContext.hpp"
#include "Tests/Support/CountingRows.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

namespace platform {

namespace {

CGImage flat(std::int64_t width, std::int64_t height, std::uint32_t color, CGColorSpace space = {}) {
    return imageOf(width, height, [=](auto, auto) { return color; }, (color & 255) == 255, std::move(space));
}

std::uint32_t pixel(const UIImage& image, std::int64_t x, std::int64_t y) {
    const std::uint8_t* at = image.cgImage()->pixels()->row(y) + 4 * x;
    return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
           static_cast<std::uint32_t>(at[2]) << 8 | at[3];
}

} // namespace

TEST(UIGraphicsImageContext, StartsBlackOrTransparentAtItsScale) {
    const TestDevice device;
    struct Case {
        CGSize size;
        bool opaque;
        CGFloat scale;
        std::int64_t width, height;
        std::uint32_t color;
    };
    for (const auto& [size, opaque, scale, width, height, color] :
         {Case{{3, 2}, true, 1, 3, 2, 0xff}, Case{{3, 2}, false, 2, 6, 4, 0}, Case{{3, 2}, true, 0, 3, 2, 0xff}}) {
        const UIImage image = UIGraphicsImageContext::make(size, opaque, scale).value().image();
        EXPECT_EQ(image.cgImage()->width(), width);
        EXPECT_EQ(image.cgImage()->height(), height);
        EXPECT_EQ(pixel(image, width - 1, height - 1), color);
        EXPECT_EQ(image.size(), size);
    }
    EXPECT_EQ(UIGraphicsImageContext::make({1e9, 1e9}, true, 1).error().code, ImageError::Code::tooLarge);
}

TEST(UIGraphicsImageContext, DrawsOverWhatIsThereAndCutsOffAtTheEdges) {
    auto context = UIGraphicsImageContext::make({4, 4}, true, 1).value();
    ASSERT_TRUE(context.draw(UIImage(flat(4, 4, 0x643200ff)), CGPoint{0, 0}));
    ASSERT_TRUE(context.draw(UIImage(flat(4, 4, 0xc8ff00ff)), CGPoint{2, -2}, 0.8));
    ASSERT_TRUE(context.draw(UIImage(flat(2, 2, 0x40404080)), CGPoint{-1, 3}));
    ASSERT_TRUE(context.draw(UIImage(flat(2, 2, 0xffffffff)), CGPoint{9, 9}));
    const UIImage image = std::move(context).image();
    EXPECT_EQ(pixel(image, 0, 0), 0x643200ffu);
    EXPECT_EQ(pixel(image, 2, 1), 0xb4d600ffu); // 0.8 over 0.2: 180, 214
    EXPECT_EQ(pixel(image, 2, 2), 0x643200ffu);
    EXPECT_EQ(pixel(image, 0, 3), 0x725940ffu); // 64 + 127/255 of 100 and 50
}

TEST(UIGraphicsImageContext, DrawsUprightStretchedAndAtTheImagesScale) {
    const CGImage quarters = imageOf(32, 16, [](std::int64_t x, std::int64_t y) {
        return x < 16 ? (y < 8 ? 0x100000ffu : 0x200000ffu) : (y < 8 ? 0x300000ffu : 0x400000ffu);
    });
    auto context = UIGraphicsImageContext::make({6, 8}, true, 2).value();
    ASSERT_TRUE(context.draw(UIImage(quarters, 4, ImageOrientation::right), CGPoint{0, 0})); // four points by eight
    const UIImage turned = std::move(context).image();
    EXPECT_EQ(pixel(turned, 0, 0), 0x200000ffu); // the stored left edge is the shown top
    EXPECT_EQ(pixel(turned, 7, 0), 0x100000ffu);
    EXPECT_EQ(pixel(turned, 0, 15), 0x400000ffu);
    EXPECT_EQ(pixel(turned, 8, 0), 0xffu);

    auto stretched = UIGraphicsImageContext::make({16, 32}, true, 1).value();
    ASSERT_TRUE(stretched.draw(UIImage(CIImage(quarters)), CGRect{{0, 0}, {16, 32}}));
    const UIImage recipe = std::move(stretched).image();
    EXPECT_EQ(pixel(recipe, 0, 0), 0x100000ffu);
    EXPECT_EQ(pixel(recipe, 15, 31), 0x400000ffu);
}

TEST(UIGraphicsImageContext, KeepsTheOneColourSpaceAndTellsWhereReadingFailed) {
    const CGColorSpace space = CGColorSpace::icc(std::vector<std::byte>(200));
    for (const bool mixed : {false, true}) {
        auto context = UIGraphicsImageContext::make({2, 2}, true, 1).value();
        ASSERT_TRUE(context.draw(UIImage(flat(2, 2, 0x102030ff, space)), CGPoint{0, 0}));
        ASSERT_TRUE(!mixed || context.draw(UIImage(flat(1, 1, 0x405060ff)), CGPoint{0, 0}));
        const UIImage image = std::move(context).image();
        EXPECT_EQ(image.cgImage()->colorSpace(), mixed ? CGColorSpace::sRGB() : space);
        EXPECT_EQ(pixel(image, 0, 0), mixed ? 0x405060ffu : 0x102030ffu);
    }

    auto cut = UIGraphicsImageContext::make({4, 200}, true, 1).value();
    CountingRows::Counts counts{.failAt = 100};
    const auto drawn = cut.draw(UIImage(counted(flat(4, 200, 0xffffffff), counts)), CGPoint{0, 0});
    EXPECT_EQ(drawn.error().code, ImageError::Code::truncated);
    const UIImage above = std::move(cut).image();
    EXPECT_EQ(pixel(above, 0, 0), 0xffffffffu);
    EXPECT_EQ(pixel(above, 0, 150), 0xffu);
}

} // namespace platform
