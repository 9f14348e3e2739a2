#pragma once

#include "Orbelquist/KSVPatternMaker.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orbelquist {

/// A page of words: dark blocks on white, in lines. Deterministic for a seed; every line is another.
class Page {
public:
    explicit Page(unsigned seed, std::int64_t period = 0) : seed_(seed), period_(period) {}

    std::uint8_t luma(std::int64_t x, std::int64_t y) const {
        if (period_ > 0)
            y = (y % period_ + period_) % period_;
        const std::int64_t line = y / 20, inLine = y % 20;
        if (y < 0 || inLine < 4 || inLine > 15)
            return 255;
        std::uint64_t bits = seed_ * 0x9e3779b97f4a7c15u + static_cast<std::uint64_t>(line * 4096 + x / 3);
        bits = (bits ^ bits >> 31) * 0xbf58476d1ce4e5b9u; // as in splitmix64
        bits ^= bits >> 29;
        return bits % 3 == 0 ? static_cast<std::uint8_t>(bits >> 40) % 90 : 255;
    }

private:
    unsigned seed_;
    std::int64_t period_;
};

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
