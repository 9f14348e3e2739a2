#include "Platform/CoreImage/CIContext.hpp"

#include "Platform/CoreImage/CIFilter.hpp"
#include "Platform/CoreImage/ImageExport.hpp"
#include "Platform/CoreImage/Node.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/CountingRows.hpp"
#include "Tests/Support/MemorySink.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace platform {

namespace {

CIImage over(const CIImage& background, const CIImage& input, double y0, double y1) {
    const CILinearGradient mask{.inputPoint0 = {0, y0}, .inputPoint1 = {0, y1}};
    return CIBlendWithMask{
        .inputImage = input, .inputBackgroundImage = background, .inputMaskImage = mask.outputImage()}
        .outputImage();
}

CGImage drawn(const CIImage& image, std::int64_t bandHeight) {
    const CIContext context({.bandHeight = bandHeight});
    const CGRect extent = image.extent();
    const auto format = context.format(image, extent);
    Bitmap pixels(format.width, format.height);
    std::int64_t row = 0;
    EXPECT_TRUE(context.render(
        image, extent,
        [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) -> std::expected<void, ImageError> {
            for (std::int64_t i = 0; i < count; ++i)
                std::memcpy(pixels.row(row++), rows + stride * static_cast<std::size_t>(i), pixels.stride());
            return {};
        }));
    EXPECT_EQ(row, format.height);
    return CGImage(std::move(pixels), format.opaque);
}

/// Images below each other as pages make them and as nobody does: any heights, offsets, fades (steps among them), more
/// than three images in a place, gaps that no image covers, equal places, transparency. `source` answers what is drawn
/// of an image.
CIImage anyStack(std::mt19937& random, std::int64_t width, int mostRows, bool opaque,
                 const std::function<CGImage(CGImage)>& source) {
    const auto upTo = [&](int most) { return static_cast<std::int64_t>(random() % static_cast<unsigned>(most + 1)); };
    const auto next = [&] { return CIImage(source(noiseImage(width, 1 + upTo(mostRows), random, opaque))); };
    CIImage image = next();
    double y = 0;
    for (std::int64_t i = upTo(7); i > 0; --i) {
        y -= static_cast<double>(upTo(mostRows - 5)) - 4;
        const CIImage added = next();
        const double fade = y + static_cast<double>(upTo(mostRows + 5)) - 3;
        image = over(image, added.translatedBy(0, y), fade, fade - static_cast<double>(upTo(9)));
    }
    return upTo(1) == 0 ? image.translatedBy(0, -image.extent().minY()) : image;
}

} // namespace

TEST(Gradient, WeighsRowsAtTheirMiddle) {
    struct Case {
        std::int64_t row, lo, hi;
        double weight;
    };
    for (const auto& [row, lo, hi, weight] :
         {Case{9, 10, 14, 0}, Case{10, 10, 14, 0.125}, Case{11, 10, 14, 0.375}, Case{13, 10, 14, 0.875},
          Case{14, 10, 14, 1}, Case{9, 10, 10, 0}, Case{10, 10, 10, 1}, Case{0, 0, 1, 0.5}, Case{-3, -4, -2, 0.75}})
        EXPECT_EQ(ci::gradientWeight(row, lo, hi), std::lround(weight * ci::wholeWeight)) << row;
    for (int value = 0; value < 256; ++value)
        EXPECT_EQ(ci::blended(static_cast<std::uint32_t>(value), static_cast<std::uint32_t>(value), 12345), value);
}

TEST(CIImage, BlendsReachOverBothImages) {
    std::mt19937 random(1);
    const CIImage a(noiseImage(3, 10, random)), b(noiseImage(3, 4, random));
    EXPECT_EQ(a.translatedBy(2, -3).extent(), (CGRect{{2, -3}, {3, 10}}));
    EXPECT_EQ(over(a, b.translatedBy(0, -2), 5, 3).extent(), (CGRect{{0, -2}, {3, 12}}));
    EXPECT_TRUE(CIImage().extent().isEmpty());
}

TEST(CIContext, BandsEqualThePlainEvaluation) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937 random(seed);
        const CIImage image = anyStack(random, 5, 40, seed % 3 != 0, std::identity());
        const auto plain = evaluatePlainly(image, image.extent());
        ASSERT_TRUE(plain);
        for (const std::int64_t bandHeight : {1, 7, 4096})
            EXPECT_TRUE(samePixels(drawn(image, bandHeight), *plain)) << "seed " << seed << ", bands of " << bandHeight;
        EXPECT_TRUE(samePixels(*CIContext().createCGImage(image, image.extent()), *plain)) << seed;
    }
}

/// From files to a file, whose bands are made side by side.
TEST(CIContext, AFileEqualsThePlainEvaluationOnAnyNumberOfThreads) {
    const TestDevice device;
    const auto picture = device.home() / "picture.png";
    const auto write = [](const CIImage& image, const std::filesystem::path& file) {
        MemorySink sink;
        EXPECT_TRUE(writeImage(image, image.extent(), ImageFormat::png, {}, Date{0}, sink));
        writeFile(file, sink.bytes);
    };
    ThreadPool& pool = ThreadPool::shared();
    const std::size_t usual = pool.limit();
    for (unsigned seed = 0; seed < 3; ++seed) {
        std::mt19937 random(seed);
        int count = 0;
        const CIImage image = anyStack(random, 700, 400, true, [&](const CGImage& noise) {
            const auto file = device.home() / (std::to_string(count++) + ".png");
            write(CIImage(noise), file);
            return CGImageSource::open(file)->image();
        });
        const auto plain = evaluatePlainly(image, image.extent());
        ASSERT_TRUE(plain);
        for (std::size_t threads = 1; threads <= 8; ++threads) {
            pool.setLimit(threads);
            write(image, picture);
            EXPECT_TRUE(samePixels(*CGImageSource::open(picture)->image().decoded(), *plain)) << seed << ' ' << threads;
        }
        pool.setLimit(usual);
    }
}

TEST(CIContext, DrawsWhatIsNoStackToo) {
    std::mt19937 random(5);
    const CIImage wide(noiseImage(8, 6, random)), narrow(noiseImage(3, 6, random));
    const CIImage image = over(wide, narrow.translatedBy(2, 1), 5, 2);
    EXPECT_TRUE(samePixels(drawn(image, 2), *evaluatePlainly(image, image.extent())));
}

TEST(CIContext, IsOpaqueWhereAllIsCovered) {
    std::mt19937 random(2);
    const CIImage solid(noiseImage(4, 10, random)), glass(noiseImage(4, 10, random, false));
    const auto opaque = [](const CIImage& image) { return CIContext().format(image, image.extent()).opaque; };
    EXPECT_TRUE(opaque(over(solid, solid.translatedBy(0, -10), 0, 0)));
    EXPECT_FALSE(opaque(over(solid, solid.translatedBy(0, -11), 0, 0))); // a row between them
    EXPECT_FALSE(opaque(over(solid, glass.translatedBy(0, -4), 0, 0)));
    EXPECT_FALSE(opaque(over(solid, CIImage(noiseImage(3, 4, random)).translatedBy(0, -4), 0, 0)));
}

TEST(CIContext, OpensEachSourceOnceAndReadsOnlyWhatShows) {
    std::mt19937 random(3);
    CountingRows::Counts first, second;
    const CIImage upper(counted(noiseImage(4, 100, random), first)), lower(counted(noiseImage(4, 100, random), second));
    // The second image begins at row 40 and hides the first from row 60 on.
    const CIImage image = over(upper, lower.translatedBy(0, -40), 100 - 50, 100 - 60);
    drawn(image, 16);
    EXPECT_EQ(first.opened, 1);
    EXPECT_EQ(second.opened, 1);
    EXPECT_EQ(first.lastRow, 60);
    EXPECT_EQ(second.lastRow, 100);
}

TEST(CIContext, KeepsFewSourcesOpenInALongChain) {
    std::mt19937 random(4);
    CountingRows::Counts counts;
    CIImage image(noiseImage(2, 50, random));
    for (int i = 1; i < 2000; ++i)
        image = over(image, CIImage(counted(noiseImage(2, 50, random), counts)).translatedBy(0, -20 * i), 40 - 20 * i,
                     36 - 20 * i);
    drawn(image, 64);
    EXPECT_EQ(counts.opened, 1999);
    EXPECT_LE(counts.mostOpen, 3);
    EXPECT_EQ(counts.open, 0);
}

TEST(CIContext, EndsWithTheErrorOfASourceOrOfTheHandler) {
    std::mt19937 random(6);
    CountingRows::Counts counts;
    counts.failAt = 30;
    const CIImage bad(counted(noiseImage(4, 100, random), counts));
    int bands = 0;
    const auto accept = [&](const std::uint8_t*, std::size_t, std::int64_t) -> std::expected<void, ImageError> {
        ++bands;
        return {};
    };
    const auto result = CIContext({.bandHeight = 16}).render(bad, bad.extent(), accept);
    EXPECT_EQ(result.error().code, ImageError::Code::truncated);
    EXPECT_EQ(bands, 1);
    EXPECT_FALSE(CIContext().createCGImage(bad, bad.extent()));

    const CIImage good(noiseImage(4, 100, random));
    const auto refuse = [](const std::uint8_t*, std::size_t, std::int64_t) -> std::expected<void, ImageError> {
        return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
    };
    EXPECT_EQ(CIContext().render(good, good.extent(), refuse).error().code, ImageError::Code::cancelled);
}

TEST(CIContext, KeepsACommonColorSpaceAndConvertsAMixture) {
    const auto grey = [](std::int64_t, std::int64_t) { return 0x808080ffu; };
    const CGColorSpace odd =
        CGColorSpace::icc(std::vector<std::byte>(200, std::byte{7})); // counts as sRGB when converted
    const CIImage a(imageOf(4, 4, grey, true, odd)), b(imageOf(4, 4, grey, true, odd)), c(imageOf(4, 4, grey));
    const CIImage common = over(a, b.translatedBy(0, -2), 1, 0), mixed = over(a, c.translatedBy(0, -2), 1, 0);
    EXPECT_EQ(CIContext().createCGImage(common, common.extent())->colorSpace(), odd);
    EXPECT_TRUE(CIContext().createCGImage(mixed, mixed.extent())->colorSpace().isSRGB());
}

} // namespace platform
