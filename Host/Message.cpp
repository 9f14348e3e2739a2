#include "Host/Message.hpp"

#include "Host/Language.hpp"
#include "Platform/Foundation/UTF8.hpp"

#include <cstdint>
#include <cstdio>

namespace host {

namespace {

std::string filled(std::string_view text, std::span<const std::string_view> parts) {
    std::string result;
    for (std::size_t next = 0;;) {
        const auto hole = text.find('{');
        if (hole == std::string_view::npos)
            return result.append(text);
        const bool isNumbered = hole + 2 < text.size() && text[hole + 1] >= '1' && text[hole + 1] <= '9';
        const std::size_t end = hole + (isNumbered ? 2 : 1);
        const std::size_t part = isNumbered ? static_cast<std::size_t>(text[hole + 1] - '1') : next;
        result.append(text.substr(0, hole));
        if (end < text.size() && text[end] == '}' && part < parts.size()) {
            result.append(parts[part]);
            next = part + 1;
            text.remove_prefix(end + 1);
        } else { // no hole after all
            result.append(1, '{');
            text.remove_prefix(hole + 1);
        }
    }
}

/// Of a character that UTF-8 allows.
char32_t codePoint(std::string_view character) {
    constexpr unsigned firstBits[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
    char32_t code = static_cast<std::uint8_t>(character[0]) & firstBits[character.size()];
    for (const char byte : character.substr(1))
        code = code << 6 | (static_cast<std::uint8_t>(byte) & 0x3f);
    return code;
}

bool isControl(char32_t code) {
    return code < 0x20 || (code >= 0x7f && code < 0xa0);
}

bool turnsDirection(char32_t code) {
    return code == 0x200e || code == 0x200f || code == 0x061c || (code >= 0x202a && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

/// Hebrew, Arabic and the other scripts in the blocks that Unicode keeps for writing from right to left.
bool isRightToLeft(char32_t code) {
    return (code >= 0x0590 && code <= 0x08ff) || (code >= 0xfb1d && code <= 0xfdff) ||
           (code >= 0xfe70 && code <= 0xfeff) || (code >= 0x10800 && code <= 0x10fff) ||
           (code >= 0x1e800 && code <= 0x1efff);
}

} // namespace

std::string message(const char* text, std::initializer_list<std::string_view> parts) {
    return messageOf(text, {parts.begin(), parts.size()});
}

std::string message(const char* one, const char* many, std::size_t count,
                    std::initializer_list<std::string_view> parts) {
    return filled(translated(one, many, count), {parts.begin(), parts.size()});
}

std::string messageOf(const char* text, std::span<const std::string_view> parts) {
    return filled(translated(text), parts);
}

std::string shown(const std::filesystem::path& file) {
    std::string result;
    bool hasRightToLeft = false;
    const auto escape = [&result](const char* format, unsigned value) {
        char text[8];
        std::snprintf(text, sizeof text, format, value);
        result.append(text);
    };
    for (std::string_view rest = file.native(); !rest.empty();) {
        const std::size_t length = platform::utf8Length(rest);
        const char32_t code = length > 0 ? codePoint(rest.substr(0, length)) : 0;
        if (length == 0)
            escape("\\x%02x", static_cast<std::uint8_t>(rest[0]));
        else if (isControl(code))
            for (const char byte : rest.substr(0, length))
                escape("\\x%02x", static_cast<std::uint8_t>(byte));
        else if (turnsDirection(code))
            escape("\\u%04x", code);
        else
            result.append(rest.substr(0, length));
        hasRightToLeft |= isRightToLeft(code);
        rest.remove_prefix(length > 0 ? length : 1);
    }
    // NOLINTNEXTLINE(misc-misleading-bidirectional): what the one begins, the other ends
    return hasRightToLeft ? "\u2068" + result + "\u2069" : result;
}

} // namespace host
