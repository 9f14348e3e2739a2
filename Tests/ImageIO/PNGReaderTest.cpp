#include "Platform/ImageIO/PNG.hpp"
#include "Platform/ImageIO/PNGFiltersPlain.hpp"
#include "Platform/ImageIO/PNGRowLayout.hpp"
#include "Tests/Support/PNGParts.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace platform::png {

namespace {

/// Bytes at an odd place, with more around them that must stay as they are.
struct Bytes {
    Bytes(std::size_t size, std::mt19937& random) : start(random() % 32), all(start + size + 32) {
        for (std::uint8_t& byte : all)
            byte = static_cast<std::uint8_t>(random() % 2 ? random() : random() % 4);
    }
    std::uint8_t* data() { return all.data() + start; }

    std::size_t start;
    std::vector<std::uint8_t> all;
};

struct Kind {
    ColorType colorType;
    std::uint32_t bitDepth;
};

/// The parts of a file, to be bent. Any bytes are pixels once each row starts with the number of a filter.
struct File {
    std::string header, beforePixels, rows, end = chunk("IEND", "");
    std::size_t chunkSize = 1000;

    File(Kind kind, std::uint32_t width, std::uint32_t height, std::mt19937& random)
        : header(text(bytesOf(width)) + text(bytesOf(height)) + static_cast<char>(kind.bitDepth) +
                 static_cast<char>(kind.colorType) + std::string(3, '\0')) {
        const RowLayout layout{.colorType = kind.colorType, .bitDepth = kind.bitDepth, .width = width};
        for (std::uint32_t y = 0; y < height; ++y) {
            rows += static_cast<char>(random() % rowFilterCount);
            for (std::size_t x = 0; x < layout.rowBytes(); ++x)
                rows += static_cast<char>(random() % 3 ? 0 : random());
        }
        if (kind.colorType == ColorType::palette)
            beforePixels = chunk("PLTE", noise(3u << kind.bitDepth, random));
    }

    static std::string noise(std::size_t size, std::mt19937& random) {
        std::string bytes(size, '\0');
        std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
        return bytes;
    }

    std::string bytes() const { return bytes(deflated(rows)); }
    std::string bytes(const std::string& stream) const {
        std::string result = std::string(signature) + chunk("IHDR", header) + beforePixels;
        for (std::size_t at = 0; at < stream.size(); at += chunkSize)
            result += chunk("IDAT", stream.substr(at, chunkSize));
        return result + end;
    }
};

/// The pixels or the error's words, whether opening or reading fails. Reads some rows, skips some and reads the rest.
std::string outcome(std::expected<std::unique_ptr<RowReader>, ImageError> reader, const ImageProperties& properties) {
    if (!reader)
        return "error: " + reader.error().detail;
    Bitmap pixels(properties.width, properties.height);
    std::ranges::fill(pixels.bytes(), std::uint8_t{0});
    const std::int64_t first = properties.height / 3, second = properties.height / 2;
    auto read = (*reader)->read(pixels.row(0), pixels.stride(), first);
    if (read)
        read = (*reader)->skip(second - first);
    if (read)
        read = (*reader)->read(pixels.row(second), pixels.stride(), properties.height - second);
    return read ? text(std::as_bytes(pixels.bytes())) : "error: " + read.error().detail;
}

class PNGReader : public testing::Test {
protected:
    /// Expects that both readers agree; answers whether the everyday one took the file, and what came of it.
    std::pair<bool, std::string> compare(const std::string& bytes) {
        writeFile(file, bytes);
        const ImageLimits limits;
        const auto description = inspect(*InputFile::open(file), limits);
        if (!description)
            return {false, "inspecting: " + description.error().detail};
        const std::string expected =
            outcome(generalReader(*InputFile::open(file), *description, limits), description->properties);
        auto input = *InputFile::open(file);
        auto everyday = everydayReader(input, *description, limits);
        const bool taken = everyday != nullptr;
        EXPECT_TRUE(!taken || outcome(std::move(everyday), description->properties) == expected)
            << expected.substr(0, 80);
        EXPECT_TRUE(outcome(reader(*InputFile::open(file), *description, limits), description->properties) == expected);
        return {taken, expected};
    }

    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "picture.png";
    std::mt19937 random{1};
};

constexpr Kind everydayKinds[] = {{ColorType::grey, 8},       {ColorType::greyAlpha, 8}, {ColorType::color, 8},
                                  {ColorType::colorAlpha, 8}, {ColorType::palette, 8},   {ColorType::palette, 4},
                                  {ColorType::palette, 2},    {ColorType::palette, 1}};

} // namespace

TEST(PNGFilters, DoAsThePlainOnesDo) {
    std::mt19937 random(1);
    for (std::size_t pixels = 0; pixels < 200; pixels = pixels < 70 ? pixels + 1 : pixels + 37)
        for (std::size_t pixelBytes = 1; pixelBytes <= 4; ++pixelBytes)
            for (const auto filter :
                 {RowFilter::none, RowFilter::sub, RowFilter::up, RowFilter::average, RowFilter::paeth}) {
                SCOPED_TRACE(testing::Message()
                             << pixels << " pixels of " << pixelBytes << " bytes, filter " << static_cast<int>(filter));
                const std::size_t size = pixels * pixelBytes;
                Bytes above(size, random), row(size, random), result(size, random);
                Bytes expected = result;
                const auto sum = filterRow(filter, row.data(), above.data(), size, pixelBytes, result.data());
                EXPECT_EQ(sum, plain::filterRow(filter, row.data(), above.data(), size, pixelBytes, expected.data()));
                EXPECT_EQ(result.all, expected.all);

                unfilterRow(filter, result.data(), above.data(), size, pixelBytes);
                plain::unfilterRow(filter, expected.data(), above.data(), size, pixelBytes);
                EXPECT_EQ(result.all, expected.all);
                EXPECT_TRUE(std::equal(row.data(), row.data() + size, result.data()));
            }
}

TEST_F(PNGReader, TakesTheEverydayKindsAndGivesTheGeneralReadersPixels) {
    for (const Kind kind : everydayKinds)
        for (const auto& [width, height] :
             {std::pair<std::uint32_t, std::uint32_t>{1, 1}, {7, 5}, {33, 90}, {900, 300}})
            for (const std::size_t chunkSize : {std::size_t{1}, std::size_t{1000}, std::size_t{1} << 30}) {
                if (chunkSize == 1 && width > 7)
                    continue;
                SCOPED_TRACE(testing::Message() << static_cast<int>(kind.colorType) << ' ' << kind.bitDepth << ' '
                                                << width << " x " << height << ' ' << chunkSize);
                File png(kind, width, height, random);
                png.chunkSize = chunkSize;
                png.beforePixels = chunk("gAMA", std::string("\0\0\xb1\x8f", 4)) + png.beforePixels;
                if (kind.colorType == ColorType::palette)
                    png.beforePixels += chunk("tRNS", File::noise(1u << (kind.bitDepth - 1), random));
                const auto [taken, result] = compare(png.bytes());
                EXPECT_TRUE(taken);
                EXPECT_EQ(result.size(), 4u * width * height);
            }
}

TEST_F(PNGReader, LeavesOtherKindsToTheGeneralReader) {
    File png({ColorType::color, 8}, 5, 4, random);
    png.beforePixels = chunk("tRNS", std::string(6, '\0'));
    EXPECT_FALSE(compare(png.bytes()).first);
    for (const Kind kind : {Kind{ColorType::color, 16}, {ColorType::grey, 1}, {ColorType::grey, 16}})
        EXPECT_FALSE(compare(File(kind, 5, 4, random).bytes()).first);
    png = File({ColorType::color, 8}, 1, 4, random);
    png.header.back() = 1; // interlaced
    EXPECT_FALSE(compare(png.bytes()).first);
}

TEST_F(PNGReader, AgreesOnWhatIsDamaged) {
    for (const Kind kind : {Kind{ColorType::color, 8}, Kind{ColorType::palette, 4}}) {
        const File good(kind, 60, 50, random);
        const std::string whole = good.bytes(), stream = deflated(good.rows);
        std::vector<std::string> bad;
        for (std::size_t at = 8; at < whole.size(); at += 1 + at / 12) {
            bad.push_back(whole.substr(0, at));
            bad.push_back(whole);
            bad.back()[at] = static_cast<char>(bad.back()[at] ^ 1 << random() % 8);
        }
        for (std::size_t at = 0; at < stream.size(); at += 1 + at / 12) {
            std::string changed = stream;
            changed[at] = static_cast<char>(changed[at] ^ 1 << random() % 8);
            bad.push_back(good.bytes(changed)); // the chunks are sound
            bad.push_back(good.bytes(stream.substr(0, at)));
        }
        const auto before = [&](const std::string& chunks) {
            File other = good;
            other.beforePixels = chunks;
            return other.bytes();
        };
        File other = good;
        other.rows[other.rows.size() / 2 / 181 * 181] = 5; // no such filter
        bad.insert(bad.end(),
                   {other.bytes(), good.bytes(stream + "more"), good.bytes(deflated(good.rows + "more")),
                    before(good.beforePixels + chunk("ABCD", "unknown")), before(chunk("PLTE", "123")),
                    before(chunk("tRNS", "12") + good.beforePixels), before(good.beforePixels + chunk("tEXt", "a"))});
        for (const std::string& bytes : bad)
            compare(bytes);
    }
}

} // namespace platform::png
