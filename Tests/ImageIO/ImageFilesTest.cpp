#include "Tests/Support/ImageFiles.hpp"

#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>

namespace platform {

using Code = ImageError::Code;

namespace {

/// Redder to the right by `red`, greener downwards by `green` a pixel.
CGImage gradient(std::int64_t width, std::int64_t height, int red, int green) {
    return imageOf(width, height, [=](std::int64_t x, std::int64_t y) {
        return static_cast<std::uint32_t>(x * red << 24 | y * green << 16 | 128 << 8 | 255);
    });
}

} // namespace

TEST(ImageFiles, OfOtherProgramsLookAsTheyDoThere) {
    const CGImage small = gradient(8, 5, 30, 50), large = gradient(64, 48, 4, 5);
    const CGImage turned = *uprightImage(large, ImageOrientation::right);
    const CGImage flat = imageOf(16, 16, [](auto, auto) { return 0xc86432ffu; });
    const CGImage darkening =
        imageOf(16, 16, [](auto, auto y) { return static_cast<std::uint32_t>((255 - 17 * y) * 0x1010100 | 255); });
    struct Case {
        const char* name;
        const CGImage& expected;
        int difference;
    };
    for (const auto& [name, expected, difference] : {
             Case{"rgb.png", small, 0}, Case{"palette.png", small, 0}, Case{"interlaced.png", small, 0},
             Case{"sixteen.png", small, 0}, Case{"rgba.png", small, 0}, Case{"lossless.webp", small, 0},
             Case{"cmyk.jpg", flat, 6}, Case{"progressive.jpg", darkening, 12}, Case{"gradient.heic", large, 6},
             Case{"gradient.avif", large, 6}, Case{"gradient.jxl", large, 6}, Case{"turned.avif", turned, 20},
             Case{"turned.jxl", turned, 20}, // was a JPEG file
         }) {
        const auto source = CGImageSource::open(filesOfOthers / name);
        ASSERT_TRUE(source) << name << ' ' << source.error().detail;
        EXPECT_EQ(source->properties().width, expected.width()) << name;
        const auto image = uprightImage(*source->image().decoded(), source->properties().orientation);
        ASSERT_TRUE(image) << name;
        EXPECT_LE(largestDifference(*image, expected), difference) << name;
    }
    EXPECT_EQ(CGImageSource::open(filesOfOthers / "turned.avif")->properties().captureDate->minute, 11);
}

TEST(ImageFiles, BadOnesAreToldApart) {
    const TemporaryFolder folder;
    std::mt19937 random(5);
    std::string flipped = encoded(noiseImage(20, 20, random), ImageFormat::png);
    flipped[flipped.size() - 30] ^= 1;
    writeFile(folder / "text.png", "no picture");
    writeFile(folder / "empty.png", "");
    writeFile(folder / "flipped.png", flipped);
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
        const auto result = decoded(file);
        ASSERT_FALSE(result) << file;
        EXPECT_EQ(result.error().code, code) << file << ' ' << result.error().detail;
    }
}

TEST(ImageFiles, AWebPFileThatSaysItIsOpaqueIs) {
    const TemporaryFolder folder;
    writeFile(folder / "a.webp",
              std::string("RIFF\x2e\0\0\0WEBPVP8L\x21\0\0\0\x2f\x07\0\x01\0\x99\x8c\xe8\x7f\x2a\x22\xa2\xff"
                          "\x01\x85\x6c\x23\x40\xc7\x74\xfe\x78\xbf\xc1\x78\x0c\x60\x4c\0\x44\x9a\xdc\0"
                          "\x10",
                          54)); // its pixels have alphas below 255
    const auto image = decoded(folder / "a.webp");
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
    writeFile(jpeg, encoded(waves, ImageFormat::jpeg, {}, {.quality = 100}));
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

/// Pictures that their codecs hold whole, against a budget.
TEST(Limits, ArePromisedBeforeAnythingIsDecoded) {
    const TemporaryFolder folder;
    struct Case {
        const char* name;
        std::int64_t pixels;
        bool isWhole; ///< held whole
    };
    for (const auto& [name, pixels, isWhole] : {
             Case{"rgb.png", 40, false},
             Case{"interlaced.png", 40, true},
             Case{"progressive.jpg", 256, true},
             Case{"cmyk.jpg", 256, false},
             Case{"lossless.webp", 40, true},
             Case{"gradient.heic", 3072, true},
             Case{"gradient.avif", 3072, true},
             Case{"gradient.jxl", 3072, true},
         }) {
        EXPECT_TRUE(CGImageSource::open(filesOfOthers / name, {.maxPixels = pixels})) << name;
        const auto tooLarge = CGImageSource::open(filesOfOthers / name, {.maxPixels = pixels - 1});
        ASSERT_FALSE(tooLarge) << name;
        EXPECT_EQ(tooLarge.error().code, Code::tooLarge) << name;
        const auto overMemory = CGImageSource::open(filesOfOthers / name, {.maxMemory = 100});
        EXPECT_EQ(!overMemory, isWhole) << name;
        if (!overMemory) {
            EXPECT_EQ(overMemory.error().code, Code::overMemory) << name;
        }
    }
    // Turned ones are held twice: as stored and as shown. Exif, little-endian, one entry: orientation 6.
    const std::string exif("\xff\xe1\x00\x22"
                           "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0",
                           36);
    const std::string plain = contentOf(filesOfOthers / "cmyk.jpg");
    writeFile(folder / "turned.jpg", plain.substr(0, 2) + exif + plain.substr(2));
    EXPECT_EQ(CGImageSource::open(folder / "turned.jpg", {.maxMemory = 2047}).error().code, Code::overMemory);
    EXPECT_TRUE(CGImageSource::open(folder / "turned.jpg", {.maxMemory = 2048}));
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
