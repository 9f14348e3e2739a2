#include "Codecs/Sandbox.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/ImageIO/CodecsProcess.hpp"
#include "Platform/ImageIO/CodecsProtocol.hpp"
#include "Tests/Support/MemorySink.hpp"
#include "Tests/Support/Profiles.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Tests/Support/TestImages.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cmath>

namespace platform {

using Code = ImageError::Code;

namespace {

const std::filesystem::path files = std::filesystem::path(VELMORANT_SOURCE_DIR) / "Tests/Files";

/// 64 x 48; also what the files named "gradient" show.
CGImage gradient(bool opaque = true) {
    return imageOf(
        64, 48,
        [&](std::int64_t x, std::int64_t y) {
            return static_cast<std::uint32_t>(4 * x << 24 | 5 * y << 16 | 128 << 8 | 255);
        },
        opaque);
}

std::string encoded(const CGImage& image, ImageFormat format, ImageHeader header = {}, EncodeOptions options = {}) {
    header.width = image.width();
    header.height = image.height();
    header.opaque = image.opaque();
    MemorySink sink;
    auto destination = CGImageDestination::make(format, sink, header, options);
    EXPECT_TRUE(destination) << destination.error().detail;
    const Bitmap& pixels = *image.pixels();
    EXPECT_TRUE((*destination)->write(pixels.row(0), pixels.stride(), 10));
    EXPECT_TRUE((*destination)->write(pixels.row(10), pixels.stride(), image.height() - 10));
    const auto finished = (*destination)->finish();
    EXPECT_TRUE(finished) << finished.error().detail;
    return sink.bytes;
}

std::expected<CGImage, ImageError> read(const std::filesystem::path& file) {
    const auto source = CGImageSource::open(file);
    if (!source)
        return std::unexpected(source.error());
    const auto stored = source->image().decoded();
    return stored ? uprightImage(*stored, source->properties().orientation) : stored;
}

int largestDifference(const CGImage& a, const CGImage& b) {
    if (a.width() != b.width() || a.height() != b.height())
        return 256;
    int largest = 0;
    for (std::size_t i = 0; i < a.pixels()->bytes().size(); ++i)
        largest = std::max(largest, std::abs(a.pixels()->bytes()[i] - b.pixels()->bytes()[i]));
    return largest;
}

} // namespace

class HelpedFormat : public testing::TestWithParam<ImageFormat> {
protected:
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "picture.bin"; // the ending says nothing
};

INSTANTIATE_TEST_SUITE_P(Formats, HelpedFormat, testing::Values(ImageFormat::avif, ImageFormat::jxl));

TEST_P(HelpedFormat, GivesBackPixelsDateSoftwareAndProfile) {
    std::mt19937 random(1);
    for (const bool opaque : {true, false})
        for (const auto& profile : {std::vector<std::byte>(), displayP3()}) {
            const CGImage image = opaque ? gradient() : noiseImage(64, 48, random, false);
            const ImageHeader header{.colorSpace = CGColorSpace::icc(profile),
                                     .captureDate = DateComponents{2026, 3, 1, 10, 11, 12, 250'000'000, -9000},
                                     .software = "Velmorant"};
            writeFile(file, encoded(image, GetParam(), header, {.quality = 100}));
            const auto source = CGImageSource::open(file);
            ASSERT_TRUE(source) << source.error().detail;
            EXPECT_EQ(source->properties().format, GetParam());
            EXPECT_EQ(source->properties().captureDate, header.captureDate);
            EXPECT_EQ(source->properties().software, "Velmorant");
            EXPECT_EQ(source->image().colorSpace(), header.colorSpace);
            const auto back = source->image().decoded();
            ASSERT_TRUE(back) << back.error().detail;
            EXPECT_EQ(back->opaque(), opaque);
            const int allowed = GetParam() == ImageFormat::avif ? (opaque ? 4 : 32) : opaque ? 0 : 1;
            EXPECT_LE(largestDifference(*back, image), allowed) << opaque;
        }
}

TEST_P(HelpedFormat, APrefixIsAnErrorOrTheWholePicture) {
    std::mt19937 random(2);
    const std::string whole = encoded(noiseImage(64, 48, random), GetParam());
    writeFile(file, whole);
    const auto expected = read(file);
    ASSERT_TRUE(expected) << expected.error().detail;
    for (std::size_t length = 0; length < whole.size(); length += whole.size() / 24) {
        writeFile(file, whole.substr(0, length));
        const auto cut = read(file);
        EXPECT_TRUE(!cut || samePixels(*cut, *expected)) << length;
    }
    writeFile(file, whole.substr(0, whole.size() / 2));
    EXPECT_EQ(read(file).error().code, Code::truncated);
}

TEST(Helped, FilesOfOtherProgramsLookAsTheyDoThere) {
    for (const char* name : {"gradient.heic", "gradient.avif", "gradient.jxl"}) {
        const auto image = read(files / name);
        ASSERT_TRUE(image) << name << ' ' << image.error().detail;
        EXPECT_LE(largestDifference(*image, gradient()), 6) << name;
    }
    const auto turned = uprightImage(gradient(), ImageOrientation::right);
    for (const char* name : {"turned.avif", "turned.jxl"}) {
        const auto source = CGImageSource::open(files / name);
        ASSERT_TRUE(source) << name;
        EXPECT_EQ(source->properties().width, 48) << name;
        const auto image = read(files / name);
        ASSERT_TRUE(image) << name;
        EXPECT_LE(largestDifference(*image, *turned), 20) << name; // one was a JPEG file
    }
    EXPECT_EQ(CGImageSource::open(files / "turned.avif")->properties().captureDate->minute, 11);
}

TEST(Helped, PDFShowsThePagesThatItIsAskedFor) {
    const auto count = [](const std::string& text, const std::string& part) {
        std::size_t found = 0;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++found;
        return found;
    };
    const ImageHeader header{.colorSpace = CGColorSpace::icc(displayP3()),
                             .captureDate = DateComponents{2026, 3, 1, 10, 11, 12, 0, 0},
                             .software = "Velmorant"};
    const std::string tall = encoded(gradient(), ImageFormat::pdf, header);
    EXPECT_TRUE(tall.starts_with("%PDF"));
    EXPECT_EQ(count(tall, "/MediaBox [ 0 0 64 48 ]"), 1u);
    EXPECT_EQ(count(tall, "/ICCBased"), 1u);
    EXPECT_EQ(count(tall, "(Velmorant)"), 1u);
    EXPECT_EQ(count(tall, "D:20260301101112"), 1u);
    const std::string pages = encoded(gradient(), ImageFormat::pdf, {}, {.pages = {{30, 18}, 595, 842}});
    EXPECT_EQ(count(pages, "/MediaBox [ 0 0 595 842 ]"), 2u);
    EXPECT_EQ(count(pages, "/Height 30"), 1u);
    EXPECT_EQ(count(pages, "/Height 18"), 1u);
    std::mt19937 random(3);
    EXPECT_EQ(count(encoded(noiseImage(2, 20'000, random), ImageFormat::pdf), " 14400 ]"), 1u);
}

/// Pictures that their codecs hold whole, against a budget.
TEST(Limits, ArePromisedBeforeAnythingIsDecoded) {
    const TemporaryFolder folder;
    const std::string jpeg = contentOf(files / "progressive.jpg");
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
        EXPECT_TRUE(CGImageSource::open(files / name, {.maxPixels = pixels})) << name;
        const auto tooLarge = CGImageSource::open(files / name, {.maxPixels = pixels - 1});
        ASSERT_FALSE(tooLarge) << name;
        EXPECT_EQ(tooLarge.error().code, Code::tooLarge) << name;
        const auto overMemory = CGImageSource::open(files / name, {.maxMemory = 100});
        EXPECT_EQ(!overMemory, isWhole) << name;
        if (!overMemory) {
            EXPECT_EQ(overMemory.error().code, Code::overMemory) << name;
        }
    }
    // Turned ones are held twice: as stored and as shown. Exif, little-endian, one entry: orientation 6.
    const std::string exif("\xff\xe1\x00\x22"
                           "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0",
                           36);
    const std::string plain = contentOf(files / "cmyk.jpg");
    writeFile(folder / "turned.jpg", plain.substr(0, 2) + exif + plain.substr(2));
    EXPECT_EQ(CGImageSource::open(folder / "turned.jpg", {.maxMemory = 2047}).error().code, Code::overMemory);
    EXPECT_TRUE(CGImageSource::open(folder / "turned.jpg", {.maxMemory = 2048}));
}

/// A helper that dies, hangs or answers nonsense costs its picture, some seconds at most, and nothing else.
TEST(Helped, AChildThatMisbehavesIsABadFile) {
    const TemporaryFolder folder;
    const auto header = [](codecs::Answer answer) { // for printf
        std::string text;
        for (const std::byte byte : std::as_bytes(std::span(&answer, 1))) {
            char octal[5];
            std::snprintf(octal, sizeof octal, "\\%03o", std::to_integer<unsigned>(byte));
            text += octal;
        }
        return "printf '" + text + "'; ";
    };
    const std::string inspecting = "[ $1 = inspect ] && ", good = header({.width = 64, .height = 48});
    struct Case {
        const char* name;
        std::string script;
    };
    for (const auto& [name, script] : {
             Case{"ends at once", "exit 3"},
             Case{"is killed", "kill -SEGV $$"},
             Case{"says something else", "echo hello"},
             Case{"talks without end", "while :; do printf '%01000d' 0; done"},
             Case{"claims gigabytes of profile", header({.width = 64, .height = 48, .profileBytes = ~0u})},
             Case{"claims a size beyond all limits", header({.width = 1 << 30, .height = 1 << 30})},
             Case{"claims a negative size", header({.width = -64, .height = 48})},
             Case{"ends before its rows", good + "exit 0"},
             Case{"ends within its rows", good + "printf '%05000d' 0; exit 0"},
             Case{"sends transparent rows of an opaque picture", good + "head -c 12288 /dev/zero"},
             Case{"changes its mind", inspecting + "{ " + good + " exit; }; " + header({.width = 64, .height = 47})},
             Case{"hangs", "exec sleep 100"},
             Case{"hangs within its rows", good + "exec sleep 100"},
         }) {
        const auto program = folder / "codecs";
        writeFile(program, "#!/bin/sh\n" + script + "\n");
        chmod(program.c_str(), 0700);
        const Device device({.codecs = program});
        const auto begun = std::chrono::steady_clock::now();
        const auto image = read(files / "gradient.heic");
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(14)) << name;
        ASSERT_FALSE(image) << name;
        EXPECT_TRUE(image.error().code == Code::damaged || image.error().code == Code::tooLarge) << name;

        MemorySink sink;
        const bool waits = std::string_view(name).starts_with("hangs") || std::string_view(name).starts_with("talks");
        if (waits)
            continue; // encoders are waited for longer
        auto destination =
            CGImageDestination::make(ImageFormat::jxl, sink, {.width = 64, .height = 48, .opaque = true});
        std::expected<void, ImageError> done;
        if (destination)
            done = (*destination)->write(gradient().pixels()->row(0), 256, 48);
        if (destination && done)
            done = (*destination)->finish();
        EXPECT_TRUE(!destination || done.error().code == Code::writeFailed) << name;
    }
    const Device device({.codecs = folder / "none"});
    EXPECT_EQ(read(files / "gradient.heic").error().code, Code::unsupported);
}

/// What the kernel offers is used: no new privileges, and a filter of system calls.
TEST(Helped, TheChildIsLockedUp) {
    if (contentOf("/proc/self/status").find("Seccomp:") == std::string::npos)
        GTEST_SKIP() << "this kernel does not filter system calls";
    if (::codecs::isSanitized)
        GTEST_SKIP() << "sanitizers need more than the filter allows";
    const auto process = CodecsProcess::start({"encode", "jxl", "3072", "100000000", "5"}, nullptr);
    ASSERT_TRUE(process);
    std::string status;
    const auto folder = "/proc/" + std::to_string((*process)->id());
    for (int i = 0; i < 500 && status.find("Seccomp:\t2") == std::string::npos; ++i) {
        usleep(10'000); // until it waits for the picture
        status = contentOf(folder + "/status");
    }
    EXPECT_NE(status.find("Seccomp:\t2"), std::string::npos) << status;
    EXPECT_NE(status.find("NoNewPrivs:\t1"), std::string::npos);
}

} // namespace platform
