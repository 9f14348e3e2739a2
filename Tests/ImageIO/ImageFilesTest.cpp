#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/MemorySink.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>

namespace platform {

using Code = ImageError::Code;

namespace {

const std::filesystem::path files = std::filesystem::path(VELMORANT_SOURCE_DIR) / "Tests/Files";

std::string encoded(const CGImage& image, ImageFormat format, ImageHeader header = {}, std::int64_t bandHeight = 1000,
                    int quality = 100) {
    header.width = image.width();
    header.height = image.height();
    header.opaque = image.opaque();
    MemorySink sink;
    auto destination = CGImageDestination::make(format, sink, header, {.quality = quality});
    EXPECT_TRUE(destination);
    const Bitmap& pixels = *image.pixels();
    for (std::int64_t row = 0; row < image.height(); row += bandHeight)
        EXPECT_TRUE(
            (*destination)->write(pixels.row(row), pixels.stride(), std::min(bandHeight, image.height() - row)));
    EXPECT_TRUE((*destination)->finish());
    return sink.bytes;
}

/// What reading the whole file gives: an error, of the header or of the rows, or the picture.
std::expected<CGImage, ImageError> read(const std::filesystem::path& file, const ImageLimits& limits = {}) {
    const auto source = CGImageSource::open(file, limits);
    if (!source)
        return std::unexpected(source.error());
    return source->image().decoded();
}

int largestDifference(const CGImage& a, const CGImage& b) {
    int largest = 0;
    for (std::size_t i = 0; i < a.pixels()->bytes().size(); ++i)
        largest = std::max(largest, std::abs(a.pixels()->bytes()[i] - b.pixels()->bytes()[i]));
    return largest;
}

CGImage gradient(std::int64_t width, std::int64_t height) {
    return imageOf(width, height, [](std::int64_t x, std::int64_t y) {
        return static_cast<std::uint32_t>(x * 30 << 24 | y * 50 << 16 | 128 << 8 | 255);
    });
}

} // namespace

class RoundTrip : public testing::TestWithParam<ImageFormat> {
protected:
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "picture.bin"; // the ending says nothing
};

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip, testing::Values(ImageFormat::png, ImageFormat::jpeg, ImageFormat::webp));

TEST_P(RoundTrip, GivesThePixelsBackWhateverTheBands) {
    std::mt19937 random(1);
    for (const auto& [width, height] : {std::pair<int, int>{1, 1}, {7, 5}, {64, 33}})
        for (const bool opaque : {true, false}) {
            if (!opaque && GetParam() == ImageFormat::jpeg)
                continue;
            const CGImage image = GetParam() == ImageFormat::jpeg ? gradient(std::min(width, 8), std::min(height, 5))
                                                                  : noiseImage(width, height, random, opaque);
            for (const std::int64_t bandHeight : {1, 3, 1000}) {
                writeFile(file, encoded(image, GetParam(), {}, bandHeight));
                const auto back = read(file);
                ASSERT_TRUE(back) << back.error().detail;
                EXPECT_EQ(back->opaque(), opaque);
                const int allowed = GetParam() == ImageFormat::jpeg ? 6 : opaque ? 0 : 1; // un- and premultiplied again
                EXPECT_LE(largestDifference(*back, image), allowed) << width << " x " << height;
            }
        }
}

TEST_P(RoundTrip, KeepsDateSoftwareAndProfile) {
    std::vector<std::byte> profile(300, std::byte{1});
    for (int i = 0; i < 4; ++i)
        profile[static_cast<std::size_t>(16 + i)] = static_cast<std::byte>("RGB "[i]);
    ImageHeader header;
    header.colorSpace = CGColorSpace::icc(profile);
    header.software = "Velmorant";
    header.captureDate = DateComponents{2026, 3, 1, 10, 11, 12, 250'000'000, -9000};
    writeFile(file, encoded(gradient(8, 5), GetParam(), header));
    const auto source = CGImageSource::open(file);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties().format, GetParam());
    EXPECT_EQ(source->properties().captureDate, header.captureDate);
    EXPECT_EQ(source->properties().software, "Velmorant");
    // libspng refuses profiles that are none; the others keep any bytes.
    if (GetParam() != ImageFormat::png) {
        EXPECT_EQ(source->image().colorSpace(), header.colorSpace);
    }
}

TEST_P(RoundTrip, EveryPrefixIsAnErrorOrTheWholePicture) {
    std::mt19937 random(2);
    const CGImage image = noiseImage(40, 30, random);
    const std::string whole = encoded(image, GetParam(), {}, 1000, 90);
    writeFile(file, whole);
    const auto expected = read(file);
    ASSERT_TRUE(expected);
    std::size_t errors = 0;
    for (std::size_t length = 0; length < whole.size(); length += 1 + length / 40) {
        writeFile(file, whole.substr(0, length));
        const auto cut = read(file);
        errors += !cut;
        if (cut) {
            EXPECT_TRUE(samePixels(*cut, *expected)) << length;
        }
    }
    EXPECT_GT(errors, 30u);
    writeFile(file, whole.substr(0, whole.size() / 2));
    EXPECT_EQ(read(file).error().code, Code::truncated);
}

TEST_P(RoundTrip, SkippingIsReadingAndForgetting) {
    std::mt19937 random(3);
    writeFile(file, encoded(noiseImage(24, 50, random), GetParam(), {}, 1000, 80));
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
    const CGImage image = noiseImage(300, 300, random);
    MemorySink sink;
    sink.capacity = 5000;
    auto destination = CGImageDestination::make(GetParam(), sink, {.width = 300, .height = 300, .opaque = true});
    std::expected<void, ImageError> result;
    if (destination)
        result = (*destination)->write(image.pixels()->row(0), image.pixels()->stride(), 300);
    if (destination && result)
        result = (*destination)->finish();
    EXPECT_TRUE(!destination || result.error().code == Code::writeFailed);
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

TEST(ImageFiles, OfOtherProgramsDecodeAsThoseSay) {
    for (const char* name : {"rgb.png", "palette.png", "interlaced.png", "sixteen.png", "rgba.png", "lossless.webp"}) {
        const auto image = read(files / name);
        ASSERT_TRUE(image) << name << ' ' << image.error().detail;
        EXPECT_EQ(largestDifference(*image, gradient(8, 5)), 0) << name;
    }
    const auto cmyk = read(files / "cmyk.jpg");
    EXPECT_LE(largestDifference(*cmyk, imageOf(16, 16, [](auto, auto) { return 0xc86432ffu; })), 6);
    const auto progressive = read(files / "progressive.jpg");
    EXPECT_LE(
        largestDifference(
            *progressive,
            imageOf(16, 16, [](auto, auto y) { return static_cast<std::uint32_t>((255 - 17 * y) * 0x1010100 | 255); })),
        12);
}

TEST(ImageFiles, BadOnesAreToldApart) {
    const TemporaryFolder folder;
    std::mt19937 random(5);
    const std::string png = encoded(noiseImage(20, 20, random), ImageFormat::png);
    std::string flipped = png;
    flipped[flipped.size() - 30] ^= 1;
    std::string huge = png;
    huge.replace(16, 8, std::string("\x00\x10\x00\x00\x00\x10\x00\x00", 8)); // a million rows and columns
    writeFile(folder / "text.png", "no picture");
    writeFile(folder / "empty.png", "");
    writeFile(folder / "flipped.png", flipped);
    writeFile(folder / "huge.png", huge);
    writeFile(folder / "good.png", png);
    mkfifo((folder / "fifo.png").c_str(), 0600);
    struct Case {
        std::filesystem::path file;
        Code code;
    };
    for (const auto& [file, code] : {
             Case{folder / "none.png", Code::missing},
             Case{folder / "text.png", Code::notAnImage},
             Case{folder / "empty.png", Code::notAnImage},
             Case{folder / "flipped.png", Code::damaged},
             Case{folder / "fifo.png", Code::notRegularFile},
             Case{folder.path(), Code::notRegularFile},
             Case{"/dev/null", Code::notRegularFile},
         }) {
        const auto result = read(file);
        ASSERT_FALSE(result) << file;
        EXPECT_EQ(result.error().code, code) << file << ' ' << result.error().detail;
    }
    const auto tooLarge = read(folder / "huge.png"); // the checksum of its header is wrong as well
    EXPECT_TRUE(!tooLarge && (tooLarge.error().code == Code::tooLarge || tooLarge.error().code == Code::damaged));
    EXPECT_EQ(read(folder / "good.png", {.maxPixels = 399}).error().code, Code::tooLarge);
    EXPECT_TRUE(read(folder / "good.png", {.maxPixels = 400}));
}

TEST(ImageFiles, AWebPFileThatSaysItIsOpaqueIs) {
    const TemporaryFolder folder;
    writeFile(folder / "a.webp",
              std::string("RIFF\x2e\0\0\0WEBPVP8L\x21\0\0\0\x2f\x07\0\x01\0\x99\x8c\xe8\x7f\x2a\x22\xa2\xff"
                          "\x01\x85\x6c\x23\x40\xc7\x74\xfe\x78\xbf\xc1\x78\x0c\x60\x4c\0\x44\x9a\xdc\0"
                          "\x10",
                          54)); // its pixels have alphas below 255
    const auto image = read(folder / "a.webp");
    ASSERT_TRUE(image && image->opaque());
    for (std::size_t i = 3; i < image->pixels()->bytes().size(); i += 4)
        EXPECT_EQ(image->pixels()->bytes()[i], 255);
}

TEST(ImageFiles, AFormatSaysBeforehandWhatItCannotHold) {
    MemorySink sink;
    for (const auto format : {ImageFormat::jpeg, ImageFormat::webp}) {
        const std::int64_t most = CGImageDestination::maxHeight(format);
        EXPECT_EQ(CGImageDestination::make(format, sink, {.width = 2, .height = most + 1}).error().code,
                  Code::tooLarge);
        EXPECT_TRUE(sink.bytes.empty());
    }
}

TEST(ImageFiles, AJPEGIsDecodedSmallerWhereFewerPixelsWillDo) {
    constexpr std::int64_t width = 333, height = 250;
    const CGImage waves = imageOf(width, height, [](std::int64_t x, std::int64_t y) {
        const auto wave = [](double phase) { return static_cast<std::uint32_t>(128 + 100 * std::sin(phase)); };
        return wave(static_cast<double>(x) / 25) << 24 | wave(static_cast<double>(y) / 25) << 16 | 255;
    });
    const TemporaryFolder folder;
    const auto jpeg = folder / "waves.jpg", png = folder / "waves.png";
    writeFile(jpeg, encoded(waves, ImageFormat::jpeg));
    writeFile(png, encoded(waves, ImageFormat::png));

    struct Case {
        std::int64_t width, height, divisor;
    };
    const CGImage whole = CGImageSource::open(jpeg).value().image();
    for (const auto& [least, leastDown, divisor] :
         {Case{1, 1, 8}, Case{42, 32, 8}, Case{42, 33, 4}, Case{84, 2, 4}, Case{167, 125, 2}, Case{168, 2, 1}}) {
        const CGImage reduced = whole.reduced(least, leastDown);
        ASSERT_EQ(reduced.width(), (width + divisor - 1) / divisor);
        ASSERT_EQ(reduced.height(), (height + divisor - 1) / divisor);
        const CGImage pixels = reduced.decoded().value();
        for (std::int64_t y = 0; y < height / divisor; ++y)
            for (std::int64_t x = 0; x < width / divisor; ++x) { // as bright as what is in the middle of what it covers
                const std::uint8_t* middle =
                    waves.pixels()->row(y * divisor + divisor / 2) + 4 * (x * divisor + divisor / 2);
                ASSERT_NEAR(pixels.pixels()->row(y)[4 * x], middle[0], 6) << divisor << ": " << x << ' ' << y;
                ASSERT_NEAR(pixels.pixels()->row(y)[4 * x + 1], middle[1], 6) << divisor << ": " << x << ' ' << y;
            }
    }
    EXPECT_EQ(CGImageSource::open(png).value().image().reduced(1, 1).width(), width);
}

TEST(UprightImage, TurnsAllEightWays) {
    // 3 x 2, pixels numbered from 1:  1 2 3 / 4 5 6
    const CGImage stored =
        imageOf(3, 2, [](auto x, auto y) { return static_cast<std::uint32_t>(1 + x + 3 * y) << 24 | 255; });
    struct Case {
        ImageOrientation orientation;
        std::vector<int> pixels;
        int width;
    };
    for (const auto& [orientation, pixels, width] : {
             Case{ImageOrientation::up, {1, 2, 3, 4, 5, 6}, 3},
             Case{ImageOrientation::upMirrored, {3, 2, 1, 6, 5, 4}, 3},
             Case{ImageOrientation::down, {6, 5, 4, 3, 2, 1}, 3},
             Case{ImageOrientation::downMirrored, {4, 5, 6, 1, 2, 3}, 3},
             Case{ImageOrientation::leftMirrored, {1, 4, 2, 5, 3, 6}, 2},
             Case{ImageOrientation::right, {4, 1, 5, 2, 6, 3}, 2},
             Case{ImageOrientation::rightMirrored, {6, 3, 5, 2, 4, 1}, 2},
             Case{ImageOrientation::left, {3, 6, 2, 5, 1, 4}, 2},
         }) {
        const auto upright = uprightImage(stored, orientation);
        std::vector<int> got;
        for (std::size_t i = 0; i < 24; i += 4)
            got.push_back(upright->pixels()->bytes()[i]);
        EXPECT_EQ(got, pixels) << static_cast<int>(orientation);
        EXPECT_EQ(upright->width(), width);
    }
}

} // namespace platform
