#include "Platform/CoreGraphics/Resampler.hpp"

#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>

namespace platform {

namespace {

/// The definition: how much of each of `length` source pixels goes into output pixel `out` of `newLength`, along one
/// axis.
std::vector<double> weights(std::int64_t out, std::int64_t length, std::int64_t newLength) {
    const double step = static_cast<double>(length) / static_cast<double>(newLength), stretch = std::max(1.0, step);
    const double centre = (static_cast<double>(out) + 0.5) * step;
    std::vector<double> weights;
    for (std::int64_t pixel = 0; pixel < length; ++pixel) {
        const double x = std::abs(static_cast<double>(pixel) + 0.5 - centre) / stretch;
        weights.push_back(x < 1   ? 1.5 * x * x * x - 2.5 * x * x + 1
                          : x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2
                                  : 0);
    }
    const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
    for (double& weight : weights)
        weight /= sum;
    return weights;
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

TEST(Resampler, IsTheWeighedMeanRoundedToNearest) {
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
                const auto down = weights(y, height, newHeight), across = weights(x, width, newWidth);
                double exact[4] = {};
                for (std::int64_t v = 0; v < height; ++v)
                    for (std::int64_t u = 0; down[static_cast<std::size_t>(v)] != 0 && u < width; ++u)
                        for (int channel = 0; channel < 4; ++channel)
                            exact[channel] += down[static_cast<std::size_t>(v)] * across[static_cast<std::size_t>(u)] *
                                              image.pixels()->row(v)[4 * u + channel];
                const std::uint8_t* pixel = result.data() + 4 * (y * newWidth + x);
                for (int channel = 0; channel < 4; ++channel) {
                    const double most = channel < 3 ? pixel[3] : 255; // still premultiplied
                    ASSERT_NEAR(pixel[channel], std::clamp(exact[channel], 0.0, most), 0.501) << x << ' ' << y;
                }
            }
    }
}

TEST(Resampler, BlursWhatIsTooFine) {
    const auto stripes = imageOf(600, 8, [](std::int64_t x, auto) { return x % 3 == 0 ? 0x000000ffu : 0xffffffffu; });
    const auto result = scaled(stripes, 300, 4, 8);                 // 200 stripes, room for 150
    std::vector<int> reds;
    for (std::size_t x = 10; x < 290; ++x) // of the second row, away from the edges
        reds.push_back(result[4 * (300 + x)]);
    const auto [least, most] = std::ranges::minmax_element(reds);
    EXPECT_LT(*most - *least, 60); // the mean over the pixels that each covers has 105
}

TEST(Resampler, LooksAtWhatShowsOnly) {
    std::mt19937 random(3);
    const CGImage noise = noiseImage(20, 90, random);
    const auto whole = scaled(noise, 10, 30, 90);
    std::vector<std::uint8_t> upper;
    Resampler resampler(20, 90, 10, 30, 7,
                        [&](std::int64_t, const std::uint8_t* row) { upper.insert(upper.end(), row, row + 40); });
    ASSERT_LT(resampler.sourceRows(), 30);
    resampler.push(noise.pixels()->row(0), noise.pixels()->stride(), resampler.sourceRows());
    EXPECT_TRUE(std::ranges::equal(upper, std::span(whole).first(7 * 40)));
}

TEST(Resampler, KeepsWhatNeedsNoMean) {
    std::mt19937 random(2);
    const CGImage noise = noiseImage(33, 17, random, false);
    const auto same = scaled(noise, 33, 17, 5);
    EXPECT_TRUE(std::equal(same.begin(), same.end(), noise.pixels()->row(0)));
    const CGImage flat = imageOf(33, 17, [](auto, auto) { return 0x7f01407fu; }, false);
    for (const auto& [width, height] : {std::pair(7, 5), std::pair(1, 1), std::pair(100, 50), std::pair(32, 18)}) {
        const auto result = scaled(flat, width, height, 4);
        for (std::size_t i = 0; i < result.size(); ++i)
            ASSERT_EQ(result[i], flat.pixels()->row(0)[i % 4]);
    }
}

} // namespace platform
