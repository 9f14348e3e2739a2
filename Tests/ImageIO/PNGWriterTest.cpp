#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/ImageIO/PNG.hpp"
#include "Platform/ImageIO/PNGBand.hpp"
#include "Tests/Support/ImageFiles.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>

namespace platform::png {

namespace {

/// Flat areas, a gradient, noise and repeated rows, so that bands differ in what suits them.
CGImage picture(std::int64_t width, std::int64_t height, bool opaque) {
    std::mt19937 random(static_cast<unsigned>(width * height));
    return imageOf(
        width, height,
        [&](std::int64_t x, std::int64_t y) -> std::uint32_t {
            const std::uint32_t alpha = opaque || x % 5 > 0 ? 255 : 128 + random() % 128;
            const std::uint32_t kind = static_cast<std::uint32_t>(y / 90 % 4);
            const std::uint32_t value = kind == 0   ? 100
                                        : kind == 1 ? static_cast<std::uint32_t>(x + y) % 128
                                        : kind == 2 ? random() % 128
                                                    : static_cast<std::uint32_t>(x * 37 % 128);
            return value << 24 | (value / 2) << 16 | (127 - value) << 8 | alpha;
        },
        opaque);
}

std::string written(const CGImage& image, std::int64_t rowsAtOnce, EncodeEffort effort = EncodeEffort::usual) {
    return encoded(image, ImageFormat::png, {}, {.effort = effort}, rowsAtOnce);
}

} // namespace

TEST(PNGWriter, BytesDependOnPixelsAlone) {
    ThreadPool& pool = ThreadPool::shared();
    const std::size_t usual = pool.limit();
    for (const auto effort : {EncodeEffort::usual, EncodeEffort::fast, EncodeEffort::small}) {
        const CGImage image = picture(700, 2000, effort == EncodeEffort::usual);
        const std::string expected = written(image, 2000, effort);
        using Case = std::pair<std::size_t, std::int64_t>;
        for (const auto& [threads, rowsAtOnce] : {Case{1, 2000}, Case{2, 113}, Case{5, 1}, Case{16, 2000}}) {
            pool.setLimit(threads);
            EXPECT_TRUE(written(image, rowsAtOnce, effort) == expected) << threads << ' ' << rowsAtOnce;
        }
        pool.setLimit(usual);
    }
}

TEST(PNGWriter, BothReadersGiveThePixelsBack) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "picture.png";
    using Size = std::pair<std::int64_t, std::int64_t>;
    // A band holds 655 rows of 233 opaque pixels; the widest picture has one row a band.
    for (const auto& [width, height] : {Size{1, 1}, Size{3, 5000}, Size{233, 654}, Size{233, 655}, Size{233, 656},
                                        Size{233, 1310}, Size{233, 4000}, Size{200'000, 3}})
        for (const auto& [opaque, effort] :
             {std::pair(true, EncodeEffort::usual), std::pair(false, EncodeEffort::usual),
              std::pair(true, EncodeEffort::fast), std::pair(true, EncodeEffort::small)}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << opaque);
            const CGImage image = picture(width, height, opaque);
            writeFile(file, written(image, height, effort));
            const auto description = inspect(*InputFile::open(file), {});
            ASSERT_TRUE(description) << description.error().detail;
            auto input = *InputFile::open(file);
            const auto everyday = everydayReader(input, *description, {});
            const auto general = generalReader(*InputFile::open(file), *description, {});
            ASSERT_TRUE(everyday && general);
            for (RowReader* reader : {everyday.get(), general->get()}) {
                Bitmap back(width, height);
                const auto read = reader->read(back.row(0), back.stride(), height);
                ASSERT_TRUE(read) << read.error().detail;
                const auto near = [alpha = !opaque](int a, int b) {
                    return std::abs(a - b) <= (alpha ? 1 : 0);
                }; // rounded twice
                EXPECT_TRUE(std::ranges::equal(back.bytes(), image.pixels()->bytes(), near));
            }
        }
}

TEST(PNGWriter, BlankRowsTakeNextToNothing) {
    const TemporaryFolder folder;
    const CGImage page = imageOf(
        1170, 1500, [](std::int64_t x, std::int64_t y) { return y % 200 < 3 && x < 40 ? 0x303030ffu : 0xf2f2f7ffu; },
        true);
    const std::string bytes = written(page, 1500);
    EXPECT_LT(bytes.size(), 6 * 1500); // three times as much by references to what lies further back
    writeFile(folder / "page.png", bytes);
    EXPECT_TRUE(samePixels(*decoded(folder / "page.png"), page));
}

TEST(PNGWriter, JoinsChecksums) {
    std::mt19937 random(1);
    for (const std::size_t size : {0u, 1u, 5000u, 65'520u, 65'521u, 200'000u})
        for (const std::size_t cut : {std::size_t{0}, size / 3, size}) {
            std::vector<std::uint8_t> bytes(size);
            std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random() | 0xf0); });
            const std::uint32_t first = isal_adler32(1, bytes.data(), cut);
            const std::uint32_t second = isal_adler32(1, bytes.data() + cut, size - cut);
            EXPECT_EQ(joinedChecksum(first, second, size - cut), isal_adler32(1, bytes.data(), size)) << size;
        }
}

TEST(PNGWriter, WantsAllItsRowsAndNoMore) {
    const CGImage image = picture(8, 4, true);
    const Bitmap& pixels = *image.pixels();
    MemorySink sink;
    const auto few = writer(sink, {.width = 8, .height = 5, .opaque = true}, {});
    EXPECT_TRUE((*few)->write(pixels.row(0), pixels.stride(), 4));
    EXPECT_EQ((*few)->finish().error().code, ImageError::Code::writeFailed);
    const auto many = writer(sink, {.width = 8, .height = 3, .opaque = true}, {});
    EXPECT_EQ((*many)->write(pixels.row(0), pixels.stride(), 4).error().code, ImageError::Code::writeFailed);
    EXPECT_EQ(writer(sink, {.width = std::int64_t{1} << 30, .height = 1}, {}).error().code, ImageError::Code::tooLarge);
}

} // namespace platform::png
