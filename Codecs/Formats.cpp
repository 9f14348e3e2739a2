#include "Codecs/Formats.hpp"

namespace codecs {

std::vector<std::uint8_t> Picture::receivePixels() const {
    std::vector<std::uint8_t> pixels(4 * static_cast<std::size_t>(request.width * request.height));
    receive(std::as_writable_bytes(std::span(pixels)));
    return pixels;
}

std::vector<std::byte> exifBlock(std::vector<std::byte> item) {
    if (item.size() < 4)
        return {};
    std::size_t before = 4;
    for (std::size_t i = 0; i < 4; ++i)
        before += std::to_integer<std::size_t>(item[i]) << (24 - 8 * i);
    if (before >= item.size())
        return {};
    item.erase(item.begin(), item.begin() + static_cast<std::ptrdiff_t>(before));
    return item;
}

} // namespace codecs
