#include "Tests/Support/ImageFiles.hpp"
#include "Tests/Support/Profiles.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>

namespace platform {

using Code = ImageError::Code;

namespace {

CGImage gradient(std::int64_t width, std::int64_t height) {
    return imageOf(width, height, [](std::int64_t x, std::int64_t y) {
        return static_cast<std::uint32_t>(4 * x << 24 | 5 * y << 16 | 128 << 8 | 255);
    });
}

} // namespace

class RoundTrip : public testing::TestWithParam<ImageFormat> {
protected:
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "picture.bin"; // the ending says nothing
};

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip,
                         testing::Values(ImageFormat::png, ImageFormat::jpeg, ImageFormat::webp, ImageFormat::avif,
                                         ImageFormat::jxl));

TEST_P(RoundTrip, GivesThePixelsBackWhateverTheBands) {
    std::mt19937 random(1);
    const bool isLossy = GetParam() == ImageFormat::jpeg || GetParam() == ImageFormat::avif;
    for (const auto& [width, height] : {std::pair<int, int>{1, 1}, {7, 5}, {64, 33}})
        for (const bool opaque : {true, false}) {
            if (!opaque && GetParam() == ImageFormat::jpeg)
                continue;
            const CGImage image =
                isLossy && opaque ? gradient(width, height) : noiseImage(width, height, random, opaque);
            for (const std::int64_t bandHeight : {1, 3, 1000}) {
                writeFile(file, encoded(image, GetParam(), {}, {.quality = 100}, bandHeight));
                const auto back = decoded(file);
                ASSERT_TRUE(back) << back.error().detail;
                EXPECT_EQ(back->opaque(), opaque);
                const int allowed = GetParam() == ImageFormat::jpeg   ? 6
                                    : GetParam() == ImageFormat::avif ? (opaque ? 4 : 32)
                                    : opaque                          ? 0
                                                                      : 1; // un- and premultiplied again
                EXPECT_LE(largestDifference(*back, image), allowed) << width << " x " << height;
            }
        }
}

TEST_P(RoundTrip, KeepsDateSoftwareAndProfile) {
    for (const auto& space : {CGColorSpace(), CGColorSpace::icc(displayP3())}) {
        const ImageHeader header{.colorSpace = space,
                                 .captureDate = DateComponents{2026, 3, 1, 10, 11, 12, 250'000'000, -9000},
                                 .software = "Velmorant"};
        writeFile(file, encoded(gradient(64, 48), GetParam(), header, {.quality = 100}));
        const auto source = CGImageSource::open(file);
        ASSERT_TRUE(source) << source.error().detail;
        EXPECT_EQ(source->properties().format, GetParam());
        EXPECT_EQ(source->properties().captureDate, header.captureDate);
        EXPECT_EQ(source->properties().software, "Velmorant");
        EXPECT_EQ(source->image().colorSpace(), header.colorSpace);
    }
}

TEST_P(RoundTrip, EveryPrefixIsAnErrorOrTheWholePicture) {
    std::mt19937 random(2);
    const CGImage image = noiseImage(40, 30, random);
    const std::string whole = encoded(image, GetParam(), {}, {.quality = 90});
    writeFile(file, whole);
    const auto expected = decoded(file);
    ASSERT_TRUE(expected);
    std::size_t errors = 0;
    for (std::size_t length = 0; length < whole.size(); length += 1 + length / 40) {
        writeFile(file, whole.substr(0, length));
        const auto cut = decoded(file);
        errors += !cut;
        if (cut) {
            EXPECT_TRUE(samePixels(*cut, *expected)) << length;
        }
    }
    EXPECT_GT(errors, 30u);
    writeFile(file, whole.substr(0, whole.size() / 2));
    EXPECT_EQ(decoded(file).error().code, Code::truncated);
}

TEST_P(RoundTrip, SkippingIsReadingAndForgetting) {
    std::mt19937 random(3);
    writeFile(file, encoded(noiseImage(24, 50, random), GetParam(), {}, {.quality = 80}));
    const CGImage image = CGImageSource::open(file)->image();
    const auto whole = image.decoded();
    auto rows = *image.reader();
    ASSERT_TRUE(rows->skip(17));
    Bitmap some(24, 5);
    ASSERT_TRUE(rows->read(some.row(0), some.stride(), 5));
    EXPECT_EQ(std::memcmp(some.row(0), whole->pixels()->row(17), some.bytes().size()), 0);
}

TEST_P(RoundTrip, AFullDiskIsAnErrorOfTheWriter) {
    std::mt19937 random(4);
    MemorySink sink;
    sink.capacity = 5000;
    EXPECT_EQ(write(noiseImage(300, 300, random), GetParam(), sink).error().code, Code::writeFailed);
}

TEST_P(RoundTrip, AReaderNoticesThatTheFileIsAnother) {
    writeFile(file, encoded(gradient(8, 5), GetParam()));
    const auto source = CGImageSource::open(file);
    writeFile(folder / "other", encoded(gradient(8, 4), GetParam()));
    std::filesystem::rename(folder / "other", file);
    EXPECT_EQ(source->image().reader().error().code, Code::changed);
    std::filesystem::remove(file);
    EXPECT_EQ(source->image().reader().error().code, Code::missing);
}

} // namespace platform
