#include "Host/Message.hpp"

#include "Platform/Foundation/UTF8.hpp"

#include <cstdint>

namespace host {

namespace {

const char* translated(const char* text) {
    return text;
} // English is the only language yet

std::string filled(std::string_view text, std::initializer_list<std::string_view> parts) {
    std::string result;
    for (const std::string_view part : parts) {
        const auto hole = text.find("{}");
        if (hole == std::string_view::npos)
            break;
        result.append(text.substr(0, hole)).append(part);
        text.remove_prefix(hole + 2);
    }
    return result.append(text);
}

bool isControl(std::string_view character) {
    const auto first = static_cast<std::uint8_t>(character[0]);
    const bool c1 = character.size() == 2 && first == 0xc2 && static_cast<std::uint8_t>(character[1]) < 0xa0;
    return first < 0x20 || first == 0x7f || c1;
}

} // namespace

std::string message(const char* text, std::initializer_list<std::string_view> parts) {
    return filled(translated(text), parts);
}

std::string message(const char* one, const char* many, std::size_t count,
                    std::initializer_list<std::string_view> parts) {
    return filled(translated(count == 1 ? one : many), parts);
}

std::string shown(const std::filesystem::path& file) {
    constexpr char digits[] = "0123456789abcdef";
    std::string result;
    std::string_view rest = file.native();
    while (!rest.empty()) {
        const std::size_t length = platform::utf8Length(rest);
        if (length > 0 && !isControl(rest.substr(0, length))) {
            result.append(rest.substr(0, length));
            rest.remove_prefix(length);
            continue;
        }
        const auto byte = static_cast<std::uint8_t>(rest[0]);
        result.append("\\x").append({digits[byte >> 4], digits[byte & 15]});
        rest.remove_prefix(1);
    }
    return result;
}

} // namespace host
