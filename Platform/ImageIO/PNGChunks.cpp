#include "Platform/ImageIO/PNGChunks.hpp"

#include <isa-l/crc.h>

namespace platform::png {

std::uint32_t crcOf(std::span<const std::byte> bytes, std::uint32_t before) {
    return crc32_gzip_refl(before, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

} // namespace platform::png
