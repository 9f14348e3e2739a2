#include "Platform/Foundation/UUID.hpp"

#include <sys/random.h>

#include <cstdlib>

namespace platform {

UUID UUID::make() {
    UUID id;
    if (getentropy(id.bytes.data(), id.bytes.size()) != 0)
        std::abort(); // a kernel without randomness: identifiers would not be unique
    id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0f) | 0x40);
    id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3f) | 0x80);
    return id;
}

std::string UUID::description() const {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

} // namespace platform
