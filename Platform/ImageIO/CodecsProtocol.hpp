#pragma once

#include <cstdint>

/// What the program and its helper for further formats say to each other, over one stream socket that is the helper's
/// standard output. Both are of one build and run on one machine, so these structures are sent as they lie in memory.
/// Neither side trusts the other's counts.
///
/// `velmorant-codecs inspect|decode heif|jxl PIXELS MEMORY SECONDS`, the file being standard input, sends an `Answer`,
/// then the profile and the Exif block; `decode` goes on with the rows, RGBA8, from the top.
///
/// `velmorant-codecs encode avif|jxl|pdf PIXELS MEMORY SECONDS` receives a `Request`, then profile, Exif block,
/// software mark, the rows of each page as 64-bit numbers, and the rows, RGBA8, not premultiplied. It sends an `Answer`
/// and the file, in pieces that begin with their length in 32 bits; one of length 0 ends it.
namespace platform::codecs {

inline constexpr std::uint32_t magic = 0x31434d56; // "VMC1"

enum class Status : std::uint32_t { good, unsupported, truncated, damaged, tooLarge, overloaded, outOfMemory };

enum class Alpha : std::uint32_t { none, straight, premultiplied };

struct Answer {
    std::uint32_t magic = codecs::magic;
    Status status = Status::good;
    std::int64_t width = 0;  ///< in pixels, turned upright
    std::int64_t height = 0; ///< in pixels, turned upright
    Alpha alpha = Alpha::none;
    std::uint32_t profileBytes = 0;
    std::uint32_t exifBytes = 0;
    char detail[116] = {}; ///< the codec's own words, ended by a zero
};

struct Request {
    std::uint32_t magic = codecs::magic;
    std::uint32_t quality = 0; ///< 1 to 100; 100 is lossless
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::uint32_t opaque = 0;
    std::uint32_t profileBytes = 0;
    std::uint32_t exifBytes = 0;
    std::uint32_t softwareBytes = 0;
    std::uint32_t pageCount = 0; ///< of PDF
    std::int32_t pageWidth = 0;  ///< of PDF, in points; 0: as the picture asks for
    std::int32_t pageHeight = 0; ///< of PDF, in points
    std::int32_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0; ///< of capture; year 0: unknown
};

} // namespace platform::codecs
