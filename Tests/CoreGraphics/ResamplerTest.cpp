#include "Platform/CoreGraphics/Resampler.hpp"

#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace platform {

namespace {

/// How much of source pixel `source` goes into output pixel `out` along one axis.
double weight(std::int64_t source, std::int64_t out, std::int64_t length, std::int64_t newLength) {
    const double step = static_cast<double>(length) / static_cast<double>(newLength);
    const double from = static_cast<double>(out) * step, place = static_cast<double>(source);
    if (newLength <= length)
        return std::max(0.0, std::min(place + 1, from + step) - std::max(place, from)) / step;
    const double centre = std::clamp(from + step / 2 - 0.5, 0.0, static_cast<double>(length - 1));
    return std::max(0.0, 1 - std::abs(centre - place));
}

std::vector<std::uint8_t> scaled(const CGImage& image, std::int64_t width, std::int64_t height,
                                 std::int64_t rowsAtATime) {
    std::vector<std::uint8_t> result;
    Resampler resampler(image.width(), image.height(), width, height, [&](std::int64_t y, const std::uint8_t* row) {
        EXPECT_EQ(y * 4 * width, std::ssize(result)); // in order, each once
        result.insert(result.end(), row, row + 4 * width);
    });
    for (std::int64_t y = 0; y < image.height(); y += rowsAtATime)
        resampler.push(image.pixels()->row(y), image.pixels()->stride(), std::min(rowsAtATime, image.height() - y));
    EXPECT_EQ(std::ssize(result), 4 * width * height);
    return result;
}

} // namespace

TEST(Resampler, IsWithinALevelOfTheExactMean) {
    std::mt19937 random(1);
    constexpr std::int64_t sizes[][4] = {{1, 1, 1, 1},   {1, 1, 7, 5},   {7, 5, 1, 1},     {7, 5, 7, 5},
                                         {40, 9, 13, 4}, {13, 4, 40, 9}, {40, 9, 39, 8},   {300, 200, 7, 3},
                                         {5, 90, 10, 9}, {90, 5, 9, 10}, {64, 64, 32, 32}, {2000, 3, 1, 3}};
    for (const auto& [width, height, newWidth, newHeight] : sizes) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + " to " + std::to_string(newWidth) + "x" +
                     std::to_string(newHeight));
        const CGImage image = noiseImage(width, height, random, false);
        const auto result = scaled(image, newWidth, newHeight, 3);
        EXPECT_EQ(result, scaled(image, newWidth, newHeight, height)); // however the rows come
        for (std::int64_t y = 0; y < newHeight; ++y)
            for (std::int64_t x = 0; x < newWidth; ++x) {
                double exact[4] = {};
                for (std::int64_t v = 0; v < height; ++v) {
                    const double down = weight(v, y, height, newHeight);
                    for (std::int64_t u = 0; down > 0 && u < width; ++u) {
                        const double both = down * weight(u, x, width, newWidth);
                        for (int channel = 0; both > 0 && channel < 4; ++channel)
                            exact[channel] += both * image.pixels()->row(v)[4 * u + channel];
                    }
                }
                const std::uint8_t* pixel = result.data() + 4 * (y * newWidth + x);
                for (int channel = 0; channel < 4; ++channel) {
                    ASSERT_NEAR(pixel[channel], exact[channel], 1) << x << ' ' << y;
                    ASSERT_LE(pixel[channel], pixel[3]); // still premultiplied
                }
            }
    }
}

TEST(Resampler, KeepsWhatNeedsNoMean) {
    std::mt19937 random(2);
    const CGImage noise = noiseImage(33, 17, random, false);
    const auto same = scaled(noise, 33, 17, 5);
    EXPECT_TRUE(std::equal(same.begin(), same.end(), noise.pixels()->row(0)));
    const CGImage flat = imageOf(33, 17, [](auto, auto) { return 0xfe01807fu; }, false);
    for (const auto& [width, height] : {std::pair(7, 5), std::pair(1, 1), std::pair(100, 50), std::pair(32, 18)}) {
        const auto result = scaled(flat, width, height, 4);
        for (std::size_t i = 0; i < result.size(); ++i)
            ASSERT_EQ(result[i], flat.pixels()->row(0)[i % 4]);
    }
}

} // namespace platform
