#pragma once

#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Tests/Support/MemorySink.hpp"
#include "Tests/Support/PNGParts.hpp"
#include "Tests/Support/TestImages.hpp"

#include <functional>
#include <string>
#include <vector>

/// Image files that are bad, and some that only look so.
namespace hostile {

struct File {
    std::string name;
    std::string bytes;
    std::string reason; ///< a part of what is said of it; empty where its picture is whole, or cannot be told from one
};

// All are as large as the screenshots that they lie beside, so that what is wrong shows when their rows are read.
constexpr std::uint32_t width = 390, height = 844;

struct PNG {
    std::string header = header_(width, height);
    std::string beforePixels = {};
    std::string pixels = platform::png::deflated(std::string(height * (1 + 3 * width), '\0'));
    std::string end = platform::png::chunk("IEND", "");

    static std::string header_(std::uint32_t columns, std::uint32_t rows, int depth = 8, int colorType = 2,
                               int interlaced = 0) {
        using platform::png::bytesOf, platform::png::text;
        return text(bytesOf(columns)) + text(bytesOf(rows)) + static_cast<char>(depth) + static_cast<char>(colorType) +
               std::string(2, '\0') + static_cast<char>(interlaced);
    }
    std::string start() const {
        return std::string(platform::png::signature) + platform::png::chunk("IHDR", header) + beforePixels;
    }
    std::string bytes() const { return start() + platform::png::chunk("IDAT", pixels) + end; }
};

inline std::vector<File> pngFiles() {
    using platform::png::chunk, platform::png::deflated;
    const std::string whole = PNG().bytes(), rows(height * (1 + 3 * width), '\0');
    const auto changed = [&](std::size_t at, char byte) {
        std::string bytes = whole;
        bytes[at < bytes.size() ? at : bytes.size() - (std::string::npos - at)] = byte;
        return bytes;
    };
    const auto replaced = [](std::string bytes, std::size_t at, const std::string& by) {
        return bytes.replace(at, by.size(), by);
    };
    const std::string megabyte(1 << 20, '\0');
    std::string excess = rows, badFilter = rows;
    excess += std::string(5000, '\0');
    badFilter[700 * (1 + 3 * width)] = 5;
    const std::string palette = chunk("PLTE", "abcdef");
    const std::string indexes(height * (1 + width), '\0'), wrongIndexes = [&] {
        std::string wrong = indexes;
        wrong[600 * (1 + width) + 7] = 2;
        return wrong;
    }();
    const std::string bomb = deflated(megabyte, 600);
    const std::string animation = chunk("acTL", std::string("\0\0\0\2\0\0\0\0", 8));
    std::string animationFrame = chunk("fcTL", std::string(4, '\0') + PNG().header.substr(0, 8) + std::string(8, '\0') +
                                                   std::string("\0\1\0\1\0\0", 6));
    const std::string profile("icc\0\0", 5), words("Comment\0\0", 9);
    return {
        {"cut-in-signature", whole.substr(0, 5), "not an image"},
        {"cut-behind-signature", whole.substr(0, 8), "cut off"},
        {"cut-in-header", whole.substr(0, 20), "cut off"},
        {"cut-in-pixels", whole.substr(0, whole.size() / 2), "cut off"},
        {"cut-before-end", whole.substr(0, whole.size() - 12), ""}, // every pixel is there
        {"no-pixels", PNG().start() + PNG().end, "damaged"},
        {"no-columns", PNG{.header = PNG::header_(0, height)}.bytes(), "damaged"},
        {"no-rows", PNG{.header = PNG::header_(width, 0)}.bytes(), "damaged"},
        {"largest-size", PNG{.header = PNG::header_(0x7fffffff, 0x7fffffff)}.bytes(), "damaged"},
        {"negative-size", PNG{.header = PNG::header_(0xffffffff, 10)}.bytes(), "damaged"},
        {"large-bomb", PNG{.header = PNG::header_(100'000, 100'000)}.bytes(), "--max-pixels"},
        {"too-few-rows", PNG{.pixels = deflated(rows.substr(0, rows.size() - 2000))}.bytes(), "cut off"},
        // Bytes behind the last row and a wrong checksum around right ones do not matter, nor does a value without
        // color.
        {"too-many-rows", PNG{.pixels = deflated(excess)}.bytes(), ""},
        {"inflates-to-600-MB", PNG{.pixels = bomb}.bytes(), ""},
        {"wrong-header-checksum", changed(29, 'x'), "damaged"},
        {"wrong-pixel-checksum", changed(std::string::npos - 13, 'x'), ""},
        {"wrong-stream-checksum", PNG{.pixels = replaced(PNG().pixels, PNG().pixels.size() - 4, "xxxx")}.bytes(),
         "damaged"},
        {"wrong-stream-header", PNG{.pixels = replaced(PNG().pixels, 0, "xx")}.bytes(), "damaged"},
        {"unknown-filter", PNG{.pixels = deflated(badFilter)}.bytes(), "damaged"},
        {"unknown-depth", PNG{.header = PNG::header_(width, height, 7)}.bytes(), "damaged"},
        {"unknown-color", PNG{.header = PNG::header_(width, height, 8, 5)}.bytes(), "damaged"},
        {"unknown-interlacing", PNG{.header = PNG::header_(width, height, 8, 2, 3)}.bytes(), "damaged"},
        {"unknown-critical-chunk", PNG{.beforePixels = chunk("ABCD", "x")}.bytes(), "damaged"},
        {"longest-chunk",
         PNG{.beforePixels = std::string("\x7f\xff\xff\xff"
                                         "tEXt",
                                         8)}
             .bytes(),
         "without its metadata"},
        {"impossible-chunk",
         PNG{.beforePixels = std::string("\xff\xff\xff\xff"
                                         "tEXt",
                                         8)}
             .bytes(),
         "damaged"},
        {"pixels-before-header",
         std::string(platform::png::signature) + chunk("IDAT", PNG().pixels) + chunk("IHDR", PNG().header) + PNG().end,
         "damaged"},
        {"two-headers", PNG{.beforePixels = chunk("IHDR", PNG().header)}.bytes(), "damaged"},
        {"no-palette", PNG{.header = PNG::header_(width, height, 8, 3), .pixels = deflated(indexes)}.bytes(),
         "damaged"},
        {"late-palette",
         PNG{.header = PNG::header_(width, height, 8, 3), .pixels = deflated(indexes), .end = palette + PNG().end}
             .bytes(),
         "damaged"},
        {"odd-palette",
         PNG{.header = PNG::header_(width, height, 8, 3),
             .beforePixels = chunk("PLTE", "abcde"),
             .pixels = deflated(indexes)}
             .bytes(),
         "damaged"},
        {"beyond-palette",
         PNG{.header = PNG::header_(width, height, 8, 3), .beforePixels = palette, .pixels = deflated(wrongIndexes)}
             .bytes(),
         ""},
        {"profile-of-600-MB", PNG{.beforePixels = chunk("iCCP", profile + bomb)}.bytes(), "without its metadata"},
        {"text-of-600-MB", PNG{.beforePixels = chunk("zTXt", words + bomb)}.bytes(), "without its metadata"},
        {"animated", PNG{.beforePixels = animation + animationFrame, .end = animationFrame + PNG().end}.bytes(), ""},
        {"sixteen-bits",
         PNG{.header = PNG::header_(width, height, 16), .pixels = deflated(std::string(height * (1 + 6 * width), '\0'))}
             .bytes(),
         ""},
        {"one-column", PNG{.header = PNG::header_(1, 5000), .pixels = deflated(std::string(20'000, '\0'))}.bytes(), ""},
        {"one-row", PNG{.header = PNG::header_(5000, 1), .pixels = deflated(std::string(15'001, '\0'))}.bytes(), ""},
        {"one-pixel", PNG{.header = PNG::header_(1, 1), .pixels = deflated(std::string(4, '\0'))}.bytes(), ""},
    };
}

inline std::string encoded(platform::ImageFormat format, int quality) {
    std::mt19937 random(1);
    const platform::CGImage image = platform::noiseImage(width, height, random);
    platform::MemorySink sink;
    auto writer = platform::CGImageDestination::make(format, sink, {.width = width, .height = height, .opaque = true},
                                                     {.quality = quality});
    if (!(*writer)->write(image.pixels()->row(0), image.pixels()->stride(), height) || !(*writer)->finish())
        throw std::runtime_error("the test's picture could not be encoded");
    return sink.bytes;
}

/// Grey 8 x 8 blocks, in as many scans, with all tables at hand. One block takes two bits, as 0x3f.
inline std::string jpegOfScans(int columns, int rows, int scans, const std::string& scan) {
    std::string bytes("\xff\xd8\xff\xdb\x00\x43\x00", 7);
    bytes += std::string(64, '\1') + std::string("\xff\xc0\x00\x11\x08", 5);
    for (const int number : {rows, columns})
        bytes += {static_cast<char>(number >> 8), static_cast<char>(number)};
    bytes += std::string("\x03\x01\x11\x00\x02\x11\x00\x03\x11\x00", 10);
    for (const char table : {'\x00', '\x10'})
        bytes += std::string("\xff\xc4\x00\x14", 4) + table + '\1' + std::string(16, '\0');
    for (int i = 0; i < scans; ++i)
        bytes += std::string("\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00", 10) + scan;
    return bytes + "\xff\xd9";
}

/// Grey, 14,000 x 14,000 pixels, progressive: a first scan of one bit a block, then one for each frequency that says in
/// 15 bits that 16,384 blocks have none of it.
inline std::string jpegOfManyPixelsPassed() {
    std::string bytes("\xff\xd8\xff\xdb\x00\x43\x00", 7);
    bytes += std::string(64, '\1') + std::string("\xff\xc2\x00\x0b\x08\x36\xb0\x36\xb0\x01\x01\x11\x00", 13);
    bytes += std::string("\xff\xc4\x00\x14\x00\x01", 6) + std::string(16, '\0');
    bytes += std::string("\xff\xc4\x00\x14\x10\x01", 6) + std::string(15, '\0') + "\xe0";
    bytes += std::string("\xff\xda\x00\x08\x01\x01\x00\x00\x00\x00", 10) + std::string(382'813, '\0');
    for (char frequency = 1; frequency < 64; ++frequency)
        bytes += std::string("\xff\xda\x00\x08\x01\x01\x00", 7) + frequency + frequency + '\0' + std::string(351, '\0');
    return bytes + "\xff\xd9";
}

inline std::vector<File> jpegFiles() {
    const std::string whole = encoded(platform::ImageFormat::jpeg, 50);
    const std::size_t frame = whole.find("\xff\xc0");
    const auto withFrame = [&](std::size_t at, const std::string& bytes) {
        return std::string(whole).replace(frame + at, bytes.size(), bytes);
    };
    const std::string start = whole.substr(0, 2), rest = whole.substr(2);
    const std::string block("\xff\xe2\xff\xff", 4), filling(65'533, 'x');
    std::string hoard = start;
    for (int i = 0; i < 1000; ++i)
        hoard += block + filling;
    return {
        {"cut-behind-start", whole.substr(0, 4), "cut off"},
        {"cut-in-header", whole.substr(0, frame + 6), "cut off"},
        {"cut-in-pixels", whole.substr(0, whole.size() / 2), "cut off"},
        {"only-an-end", std::string("\xff\xd8\xff\xd9"), "damaged"},
        {"comment-of-length-1", start + std::string("\xff\xfe\x00\x01", 4) + rest, ""},
        {"no-rows", withFrame(5, std::string(2, '\0')), "damaged"},
        {"more-rows", withFrame(5, "\xff\x00"), "damaged"},
        {"largest-size", withFrame(5, "\xff\xdc\xff\xdc"), "--max-pixels"},
        {"twelve-bits", withFrame(4, "\x0c"), "damaged"},
        {"lossless", withFrame(1, "\xc3"), "damaged"},
        {"unknown-components", withFrame(9, "\x07"), "damaged"},
        {"no-tables", start + whole.substr(frame), "damaged"},
        {"wrong-bits", std::string(whole).replace(whole.size() / 2, 3, "\xff\xc8\x00"), "damaged"},
        {"601-scans", jpegOfScans(8, 8, 601, "\x3f"), "without its metadata"},
        {"64-scans-of-196-megapixels", jpegOfManyPixelsPassed(), "without its metadata"},
        {"hoard-of-metadata", hoard + rest, "without its metadata"},
        {"wrong-metadata",
         start +
             std::string("\xff\xe1\x00\x10"
                         "Exif\0\0II*\0\xff\xff\xff\xff",
                         18) +
             rest,
         ""},
        {"wrong-profile",
         start +
             std::string("\xff\xe2\x00\x12"
                         "ICC_PROFILE\0\x05\x02xx",
                         20) +
             rest,
         ""},
    };
}

inline std::vector<File> webpFiles() {
    const std::string lossy = encoded(platform::ImageFormat::webp, 50);
    const std::string lossless = encoded(platform::ImageFormat::webp, 100);
    const auto replaced = [](std::string bytes, std::size_t at, const std::string& by) {
        return bytes.replace(at, by.size(), by);
    };
    const std::size_t picture = lossless.find("VP8L"), key = lossy.find("VP8 ");
    const std::string canvas("VP8X\x0a\0\0\0\x02\0\0\0\x85\x01\0\x4b\x03\0", 18), // an animation of that size
        animation = "WEBP" + canvas + std::string("ANIM\x06\0\0\0\0\0\0\0\0\0", 14);
    const std::string size = {static_cast<char>(animation.size()), 0, 0, 0};
    return {
        {"cut-in-header", lossy.substr(0, 14), "cut off"},
        {"cut-in-pixels", lossy.substr(0, lossy.size() / 2), "cut off"},
        {"lossless-cut", lossless.substr(0, lossless.size() / 2), "cut off"},
        {"longest", replaced(lossy, 4, "\xff\xff\xff\xff"), "damaged"},
        {"no-length", replaced(lossy, 4, std::string(4, '\0')), "damaged"},
        {"animated", "RIFF" + size + animation, "not supported"},
        {"hoard", lossy + std::string(70'000'000, '\0'), "without its metadata"},
        {"other-signature", replaced(lossless, picture + 8, "x"), "damaged"},
        {"other-start", replaced(lossy, key + 11, "xxx"), "damaged"},
        {"other-chunk", replaced(lossy, key, "VP9 "), "cut off"},
        {"wrong-lossy-bits", replaced(lossy, key + 8 + 10, std::string(2000, '\xff')), "cut off"},
    };
}

/// The names are ones of the time between the first screenshots of the example.
inline std::vector<File> files() {
    std::vector<File> all = {{"empty.png", "", "empty"},
                             {"text.png", "no picture at all", "not an image"},
                             {"png-called.jpg", PNG().bytes(), ""},
                             {"gif-called.png", "GIF89a\1\0\1\0", "not an image"}};
    const auto add = [&](const char* format, std::vector<File> files) {
        for (File& file : files)
            all.push_back({file.name + '.' + format, std::move(file.bytes), file.reason});
    };
    add("png", pngFiles());
    add("jpg", jpegFiles());
    add("webp", webpFiles());
    return all;
}

} // namespace hostile
