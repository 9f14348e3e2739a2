#include "Platform/Foundation/UTF8.hpp"

namespace platform {

std::size_t utf8Length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xc2 ? 0
                               : lead < 0xe0 ? 2
                               : lead < 0xf0 ? 3
                               : lead < 0xf5 ? 4
                                             : 0;
    if (length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
    const bool overlong = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xf0 && byte(1) < 0x90);
    const bool surrogate = lead == 0xed && byte(1) >= 0xa0;
    const bool beyond = lead == 0xf4 && byte(1) >= 0x90;
    return overlong || surrogate || beyond ? 0 : length;
}

} // namespace platform
