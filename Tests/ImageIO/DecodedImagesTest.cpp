#include "Platform/ImageIO/DecodedImages.hpp"

#include "Platform/Foundation/Device.hpp"
#include "Tests/Support/CountingRows.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

namespace platform {
namespace {

TEST(DecodedImagesTest, KeepsWhatFitsUntilItIsForgotten) {
    const Device device({.imageLimits = {.maxMemory = 100}}); // one image
    std::mt19937 random(1);
    std::vector<std::string> failed;
    const auto images = DecodedImages::make([&](const std::string& id, const ImageError&) { failed.push_back(id); });
    std::map<std::string, CountingRows::Counts> counts{{"bad", {.failAt = 7}}};
    const auto image = [&](const std::string& id) {
        return *images->image(id, [&] { return counted(noiseImage(2, 8, random), counts[id]); });
    };

    std::uint8_t row[8];
    EXPECT_TRUE((*image("half").reader())->read(row, 8, 1));
    EXPECT_FALSE(image("bad").decoded());
    EXPECT_EQ(failed, std::vector<std::string>{"bad"});
    EXPECT_EQ(image("half").pixels(), nullptr); // nor is there less room now
    EXPECT_EQ(image("bad").pixels(), nullptr);

    const auto first = image("first").decoded();
    ASSERT_NE(image("first").pixels(), nullptr);
    EXPECT_TRUE(std::ranges::equal(image("first").pixels()->bytes(), first->pixels()->bytes()));
    for (int time = 0; time < 2; ++time)
        EXPECT_TRUE(image("second").decoded());
    for (const auto& [id, times] :
         {std::pair("half", 1), std::pair("bad", 1), std::pair("first", 1), std::pair("second", 2)})
        EXPECT_EQ(counts[id].opened, times) << id;

    images->forget("first");
    EXPECT_TRUE(image("second").decoded());
    EXPECT_NE(image("second").pixels(), nullptr);
    EXPECT_EQ(image("first").pixels(), nullptr);
}

} // namespace
} // namespace platform
