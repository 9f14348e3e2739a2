#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace platform::png {

// A file is its signature and then chunks: length of the data, type, data, and a CRC of type and data. Numbers are big
// endian.
inline constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";

inline std::uint32_t bigEndian(std::uint32_t number) {
    return std::endian::native == std::endian::little ? __builtin_bswap32(number) : number;
}

inline std::uint32_t numberAt(const std::byte* bytes) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof number);
    return bigEndian(number);
}

inline std::array<std::byte, 4> bytesOf(std::uint32_t number) {
    return std::bit_cast<std::array<std::byte, 4>>(bigEndian(number));
}

/// The CRC of bytes, or of what the CRC `before` is of and then `bytes`.
std::uint32_t crcOf(std::span<const std::byte> bytes, std::uint32_t before = 0);

/// As it stands in the header.
enum class ColorType : std::uint8_t { grey = 0, color = 2, palette = 3, greyAlpha = 4, colorAlpha = 6 };

} // namespace platform::png
