#pragma once

#include "Tests/Support/ImageFiles.hpp"
#include "Tests/Support/PNGParts.hpp"

#include <string>
#include <vector>

/// Image files that are bad, and some that only look so.
namespace hostile {

using namespace std::string_literals;

struct File {
    std::string name;
    std::string bytes;
    std::string reason; ///< a part of what is said of it; empty where its picture is whole, or cannot be told from one
};

// All are as large as the screenshots that they lie beside, so that what is wrong shows when their rows are read.
constexpr std::uint32_t width = 390, height = 844;

inline std::string zeros(std::size_t length) {
    return std::string(length, '\0');
}

/// `bytes` with `by` in place of as many of them; a place below zero is counted from the end.
inline std::string replaced(std::string bytes, std::ptrdiff_t at, const std::string& by) {
    return bytes.replace(static_cast<std::size_t>(at < 0 ? std::ssize(bytes) + at : at), by.size(), by);
}

struct PNG {
    std::string header = header_(width, height);
    std::string beforePixels = {};
    std::string pixels = platform::png::deflated(zeros(height * (1 + 3 * width)));
    std::string end = platform::png::chunk("IEND", "");

    static std::string header_(std::uint32_t columns, std::uint32_t rows, int depth = 8, int colorType = 2,
                               int interlaced = 0) {
        using platform::png::bytesOf, platform::png::text;
        return text(bytesOf(columns)) + text(bytesOf(rows)) + static_cast<char>(depth) + static_cast<char>(colorType) +
               zeros(2) + static_cast<char>(interlaced);
    }
    std::string start() const {
        return std::string(platform::png::signature) + platform::png::chunk("IHDR", header) + beforePixels;
    }
    std::string bytes() const { return start() + platform::png::chunk("IDAT", pixels) + end; }
};

inline std::vector<File> pngFiles() {
    using platform::png::chunk, platform::png::deflated;
    const std::string whole = PNG().bytes(), header = PNG().header, stream = PNG().pixels, end = PNG().end;
    const std::string rows = zeros(height * (1 + 3 * width)), indexes = zeros(height * (1 + width));
    const std::string indexed = PNG::header_(width, height, 8, 3), palette = chunk("PLTE", "abcdef");
    const std::string bomb = deflated(zeros(1 << 20), 600);
    const std::string animation = chunk("acTL", "\0\0\0\2\0\0\0\0"s);
    const std::string frame = chunk("fcTL", zeros(4) + header.substr(0, 8) + zeros(8) + "\0\1\0\1\0\0"s);
    const auto headed = [](const std::string& by) { return PNG{.header = by}.bytes(); };
    const auto after = [](const std::string& chunks) { return PNG{.beforePixels = chunks}.bytes(); };
    const auto ofStream = [](const std::string& pixels) { return PNG{.pixels = pixels}.bytes(); };
    const auto ofRows = [](const std::string& by, const std::string& filtered) {
        return PNG{.header = by, .pixels = deflated(filtered)}.bytes();
    };
    const auto ofIndexes = [&](const std::string& before, const std::string& filtered, const std::string& behind = "") {
        return PNG{indexed, before, deflated(filtered), behind + end}.bytes();
    };
    return {
        {"cut-in-signature", whole.substr(0, 5), "not an image"},
        {"cut-behind-signature", whole.substr(0, 8), "cut off"},
        {"cut-in-header", whole.substr(0, 20), "cut off"},
        {"cut-in-pixels", whole.substr(0, whole.size() / 2), "cut off"},
        {"cut-before-end", whole.substr(0, whole.size() - 12), ""}, // every pixel is there
        {"no-pixels", PNG().start() + end, "damaged"},
        {"no-columns", headed(PNG::header_(0, height)), "damaged"},
        {"no-rows", headed(PNG::header_(width, 0)), "damaged"},
        {"largest-size", headed(PNG::header_(0x7fffffff, 0x7fffffff)), "damaged"},
        {"negative-size", headed(PNG::header_(0xffffffff, 10)), "damaged"},
        {"large-bomb", headed(PNG::header_(100'000, 100'000)), "--max-pixels"},
        {"too-few-rows", ofRows(header, rows.substr(0, rows.size() - 2000)), "cut off"},
        // Bytes behind the last row and a wrong checksum around right ones do not matter, nor does a value without
        // color.
        {"too-many-rows", ofRows(header, rows + zeros(5000)), ""},
        {"inflates-to-600-MB", ofStream(bomb), ""},
        {"wrong-header-checksum", replaced(whole, 29, "x"), "damaged"},
        {"wrong-pixel-checksum", replaced(whole, -13, "x"), ""},
        {"wrong-stream-checksum", ofStream(replaced(stream, -4, "xxxx")), "damaged"},
        {"wrong-stream-header", ofStream(replaced(stream, 0, "xx")), "damaged"},
        {"unknown-filter", ofRows(header, replaced(rows, 700 * (1 + 3 * width), "\5")), "damaged"},
        {"unknown-depth", headed(PNG::header_(width, height, 7)), "damaged"},
        {"unknown-color", headed(PNG::header_(width, height, 8, 5)), "damaged"},
        {"unknown-interlacing", headed(PNG::header_(width, height, 8, 2, 3)), "damaged"},
        {"unknown-critical-chunk", after(chunk("ABCD", "x")), "damaged"},
        {"longest-chunk", after("\x7f\xff\xff\xfftEXt"), "without its metadata"},
        {"impossible-chunk", after("\xff\xff\xff\xfftEXt"), "damaged"},
        {"pixels-before-header",
         std::string(platform::png::signature) + chunk("IDAT", stream) + chunk("IHDR", header) + end, "damaged"},
        {"two-headers", after(chunk("IHDR", header)), "damaged"},
        {"no-palette", ofIndexes("", indexes), "damaged"},
        {"late-palette", ofIndexes("", indexes, palette), "damaged"},
        {"odd-palette", ofIndexes(chunk("PLTE", "abcde"), indexes), "damaged"},
        {"beyond-palette", ofIndexes(palette, replaced(indexes, 600 * (1 + width) + 7, "\2")), ""},
        {"profile-of-600-MB", after(chunk("iCCP", "icc\0\0"s + bomb)), "without its metadata"},
        {"text-of-600-MB", after(chunk("zTXt", "Comment\0\0"s + bomb)), "without its metadata"},
        {"animated", PNG{.beforePixels = animation + frame, .end = frame + end}.bytes(), ""},
        {"sixteen-bits", ofRows(PNG::header_(width, height, 16), zeros(height * (1 + 6 * width))), ""},
        {"one-column", ofRows(PNG::header_(1, 5000), zeros(20'000)), ""},
        {"one-row", ofRows(PNG::header_(5000, 1), zeros(15'001)), ""},
        {"one-pixel", ofRows(PNG::header_(1, 1), zeros(4)), ""},
    };
}

inline std::string encoded(platform::ImageFormat format, int quality) {
    std::mt19937 random(1);
    return platform::encoded(platform::noiseImage(width, height, random), format, {}, {.quality = quality});
}

/// What a JPEG file begins with, up to its frame.
inline std::string jpegStart() {
    return "\xff\xd8\xff\xdb\x00\x43\x00"s + std::string(64, '\1');
}

/// Grey 8 x 8 blocks, in as many scans, with all tables at hand. One block takes two bits, as 0x3f.
inline std::string jpegOfScans(int columns, int rows, int scans, const std::string& scan) {
    std::string bytes = jpegStart() + "\xff\xc0\x00\x11\x08"s;
    for (const int number : {rows, columns})
        bytes += {static_cast<char>(number >> 8), static_cast<char>(number)};
    bytes += "\x03\x01\x11\x00\x02\x11\x00\x03\x11\x00"s;
    for (const char table : {'\x00', '\x10'})
        bytes += "\xff\xc4\x00\x14"s + table + '\1' + zeros(16);
    for (int i = 0; i < scans; ++i)
        bytes += "\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00"s + scan;
    return bytes + "\xff\xd9";
}

/// Grey, 14,000 x 14,000 pixels, progressive: a first scan of one bit a block, then one for each frequency that says in
/// 15 bits that 16,384 blocks have none of it.
inline std::string jpegOfManyPixelsPassed() {
    std::string bytes = jpegStart() + "\xff\xc2\x00\x0b\x08\x36\xb0\x36\xb0\x01\x01\x11\x00"s;
    bytes += "\xff\xc4\x00\x14\x00\x01"s + zeros(16);
    bytes += "\xff\xc4\x00\x14\x10\x01"s + zeros(15) + "\xe0";
    bytes += "\xff\xda\x00\x08\x01\x01\x00\x00\x00\x00"s + zeros(382'813);
    for (char frequency = 1; frequency < 64; ++frequency)
        bytes += "\xff\xda\x00\x08\x01\x01\x00"s + frequency + frequency + '\0' + zeros(351);
    return bytes + "\xff\xd9";
}

inline std::vector<File> jpegFiles() {
    const std::string whole = encoded(platform::ImageFormat::jpeg, 50);
    const std::size_t frame = whole.find("\xff\xc0");
    const auto withFrame = [&](std::ptrdiff_t at, const std::string& bytes) {
        return replaced(whole, static_cast<std::ptrdiff_t>(frame) + at, bytes);
    };
    const std::string start = whole.substr(0, 2);
    const auto after = [&](const std::string& metadata) { return start + metadata + whole.substr(2); };
    std::string hoard;
    for (int i = 0; i < 1000; ++i)
        hoard += "\xff\xe2\xff\xff" + std::string(65'533, 'x');
    return {
        {"cut-behind-start", whole.substr(0, 4), "cut off"},
        {"cut-in-header", whole.substr(0, frame + 6), "cut off"},
        {"cut-in-pixels", whole.substr(0, whole.size() / 2), "cut off"},
        {"only-an-end", "\xff\xd8\xff\xd9", "damaged"},
        {"comment-of-length-1", after("\xff\xfe\x00\x01"s), ""},
        {"no-rows", withFrame(5, zeros(2)), "damaged"},
        {"more-rows", withFrame(5, "\xff\x00"), "damaged"},
        {"largest-size", withFrame(5, "\xff\xdc\xff\xdc"), "--max-pixels"},
        {"twelve-bits", withFrame(4, "\x0c"), "damaged"},
        {"lossless", withFrame(1, "\xc3"), "damaged"},
        {"unknown-components", withFrame(9, "\x07"), "damaged"},
        {"no-tables", start + whole.substr(frame), "damaged"},
        {"wrong-bits", std::string(whole).replace(whole.size() / 2, 3, "\xff\xc8\x00"), "damaged"},
        {"601-scans", jpegOfScans(8, 8, 601, "\x3f"), "without its metadata"},
        {"64-scans-of-196-megapixels", jpegOfManyPixelsPassed(), "without its metadata"},
        {"hoard-of-metadata", after(hoard), "without its metadata"},
        {"wrong-metadata", after("\xff\xe1\x00\x10"s + "Exif\0\0II*\0\xff\xff\xff\xff"s), ""},
        {"wrong-profile", after("\xff\xe2\x00\x12ICC_PROFILE\0\x05\x02xx"s), ""},
    };
}

inline std::vector<File> webpFiles() {
    const std::string lossy = encoded(platform::ImageFormat::webp, 50);
    const std::string lossless = encoded(platform::ImageFormat::webp, 100);
    const auto picture = static_cast<std::ptrdiff_t>(lossless.find("VP8L"));
    const auto key = static_cast<std::ptrdiff_t>(lossy.find("VP8 "));
    const std::string canvas = "VP8X\x0a\0\0\0\x02\0\0\0\x85\x01\0\x4b\x03\0"s; // an animation of that size
    const std::string animation = "WEBP" + canvas + "ANIM\x06\0\0\0\0\0\0\0\0\0"s;
    const std::string size = {static_cast<char>(animation.size()), 0, 0, 0};
    return {
        {"cut-in-header", lossy.substr(0, 14), "cut off"},
        {"cut-in-pixels", lossy.substr(0, lossy.size() / 2), "cut off"},
        {"lossless-cut", lossless.substr(0, lossless.size() / 2), "cut off"},
        {"longest", replaced(lossy, 4, "\xff\xff\xff\xff"), "damaged"},
        {"no-length", replaced(lossy, 4, zeros(4)), "damaged"},
        {"animated", "RIFF" + size + animation, "not supported"},
        {"hoard", lossy + zeros(70'000'000), "without its metadata"},
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
