#include "Platform/ImageIO/DecodedImages.hpp"

#include "Platform/Foundation/Device.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

namespace platform {
namespace {

/// An image of eight rows and 64 bytes, the last of which is bad where `isBad`. Counts its readers.
struct EncodedRows final : RowSource {
    EncodedRows(int& opened, bool isBad) : opened(opened), isBad(isBad) {}
    int& opened;
    const bool isBad;

    std::int64_t width() const override { return 2; }
    std::int64_t height() const override { return 8; }
    bool opaque() const override { return true; }
    CGColorSpace colorSpace() const override { return CGColorSpace::sRGB(); }

    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        struct Reader final : RowReader {
            explicit Reader(bool isBad) : isBad(isBad) {}
            const bool isBad;
            std::int64_t next = 0;

            std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
                for (; count > 0; --count, rows += stride)
                    std::memset(rows, static_cast<int>(++next), 8);
                return skip(0);
            }
            std::expected<void, ImageError> skip(std::int64_t count) override {
                next += count;
                if (isBad && next == 8)
                    return std::unexpected(ImageError{ImageError::Code::truncated, {}});
                return {};
            }
        };
        ++opened;
        return std::make_unique<Reader>(isBad);
    }
};

TEST(DecodedImagesTest, KeepsWhatFitsUntilItIsForgotten) {
    const Device device({.imageLimits = {.maxMemory = 100}}); // one image
    std::vector<std::string> failed;
    const auto images = DecodedImages::make([&](const std::string& id, const ImageError&) { failed.push_back(id); });
    std::map<std::string, int> opened;
    const auto image = [&](const std::string& id) {
        return *images->image(id, [&] { return CGImage(std::make_shared<EncodedRows>(opened[id], id == "bad")); });
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
    EXPECT_EQ(opened, (std::map<std::string, int>{{"half", 1}, {"bad", 1}, {"first", 1}, {"second", 2}}));

    images->forget("first");
    EXPECT_TRUE(image("second").decoded());
    EXPECT_NE(image("second").pixels(), nullptr);
    EXPECT_EQ(image("first").pixels(), nullptr);
}

} // namespace
} // namespace platform
