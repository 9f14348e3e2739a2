#pragma once

#include "Orbelquist/KSVPatternMaker.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"
#include "Tests/Support/Page.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orbelquist {

/// A small screen.
inline constexpr std::int64_t screenWidth = 256, screenHeight = 640;

/// Shows the luma of each column and row.
inline platform::CGImage screen(const std::function<int(std::int64_t, std::int64_t)>& luma) {
    return platform::imageOf(screenWidth, screenHeight, [&](std::int64_t x, std::int64_t y) {
        return static_cast<std::uint32_t>(luma(x, y)) * 0x1010100u | 255u;
    });
}

class Shot final : public KSVLazyImage {
public:
    explicit Shot(std::optional<platform::CGImage> image) : image_(std::move(image)) {}
    void loadImage(const std::function<void(std::optional<platform::UIImage>)>& block) override {
        ++loads;
        block(image_ ? std::optional(platform::UIImage(*image_)) : std::nullopt);
    }
    std::string description() const override { return "shot"; }
    int loads = 0;

private:
    std::optional<platform::CGImage> image_;
};

inline std::vector<KSVPatternPair> match(const std::vector<std::optional<platform::CGImage>>& shots) {
    KSVPatternMaker::Images images;
    for (const auto& image : shots)
        images.push_back(std::make_shared<Shot>(image));
    std::promise<std::vector<KSVPatternPair>> answer;
    KSVPatternMaker().patternsForImages(images,
                                        [&](std::vector<KSVPatternPair> pairs) { answer.set_value(std::move(pairs)); });
    auto pairs = answer.get_future().get();
    for (const auto& image : images)
        EXPECT_EQ(static_cast<Shot&>(*image).loads, shots.size() > 1 ? 1 : 0);
    return pairs;
}

/// "+120", "-120", "0" or "x".
inline std::string offsetOf(const KSVPatternPair& pair) {
    EXPECT_FALSE(pair.positive.valid() && pair.positive.offset() > 0 && pair.negative.valid());
    if (pair.positive.valid() && pair.positive.offset() > 0)
        return "+" + std::to_string(pair.positive.offset());
    return pair.negative.valid() ? std::to_string(pair.negative.offset()) : "x";
}

} // namespace orbelquist
