#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

/// What fuzz targets have in common.
namespace fuzz {

/// A promise that does not hold is a crash.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}

inline std::span<const std::byte> bytesOf(const std::uint8_t* data, std::size_t size) {
    return std::as_bytes(std::span(data, size));
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace fuzz
