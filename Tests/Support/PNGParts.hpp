#pragma once

#include "Platform/ImageIO/PNGChunks.hpp"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace platform::png {

inline std::string text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A chunk with its length and checksum.
inline std::string chunk(std::string_view type, const std::string& data) {
    const std::string covered = std::string(type) + data;
    return text(bytesOf(static_cast<std::uint32_t>(data.size()))) + covered +
           text(bytesOf(crcOf(std::as_bytes(std::span(covered)))));
}

/// A zlib stream of `bytes`, again and again.
inline std::string deflated(std::string bytes, std::size_t times = 1) {
    std::string result;
    isal_zstream stream;
    isal_deflate_init(&stream);
    stream.gzip_flag = IGZIP_ZLIB;
    for (std::size_t i = 0; i < std::max<std::size_t>(times, 1); ++i) {
        stream.next_in = reinterpret_cast<std::uint8_t*>(bytes.data());
        stream.avail_in = static_cast<std::uint32_t>(bytes.size());
        stream.end_of_stream = i + 1 >= times;
        do {
            std::uint8_t piece[1 << 16];
            stream.next_out = piece;
            stream.avail_out = sizeof piece;
            if (isal_deflate(&stream) != COMP_OK)
                throw std::runtime_error("the test's stream could not be deflated");
            result.append(reinterpret_cast<const char*>(piece), sizeof piece - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    return result;
}

} // namespace platform::png
