#include "Host/TextWidth.hpp"

#include "Platform/Foundation/UTF8.hpp"

#include <algorithm>
#include <clocale>
#include <cwchar>

namespace host {

namespace {

/// Beyond ASCII the width is that of the C library's table for UTF-8, whatever the user's locale.
std::size_t columnsOfCharacter(std::string_view character) {
    if (character.size() == 1)
        return 1;
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (!utf8)
        return 1;
    constexpr unsigned firstBits[] = {0, 0, 0x1f, 0x0f, 0x07};
    auto code = static_cast<wchar_t>(static_cast<unsigned char>(character[0]) & firstBits[character.size()]);
    for (const char byte : character.substr(1))
        code = static_cast<wchar_t>(code << 6 | (static_cast<unsigned char>(byte) & 0x3f));
    const locale_t before = uselocale(utf8);
    const int width = wcwidth(code);
    uselocale(before);
    return width < 0 ? 0 : static_cast<std::size_t>(width);
}

template <class Take>
void forEachCharacter(std::string_view text, Take take) {
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(1, platform::utf8Length(text));
        if (!take(text.substr(0, length)))
            return;
        text.remove_prefix(length);
    }
}

} // namespace

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    forEachCharacter(text, [&](std::string_view character) {
        columns += columnsOfCharacter(character);
        return true;
    });
    return columns;
}

std::string_view fitted(std::string_view text, std::size_t columns) {
    std::size_t bytes = 0;
    forEachCharacter(text, [&](std::string_view character) {
        const std::size_t width = columnsOfCharacter(character);
        if (width > columns)
            return false;
        columns -= width;
        bytes += character.size();
        return true;
    });
    return text.substr(0, bytes);
}

std::string tableOf(const std::vector<std::vector<std::string>>& lines) {
    std::vector<std::size_t> widths;
    for (const auto& cells : lines)
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths.resize(std::max(widths.size(), i + 1));
            widths[i] = std::max(widths[i], columnsOf(cells[i]));
        }
    std::string text;
    for (const auto& cells : lines) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i)
            line += cells[i] + (i + 1 < cells.size() ? std::string(widths[i] - columnsOf(cells[i]) + 2, ' ') : "\n");
        while (line.ends_with(" \n")) // an empty last cell
            line.erase(line.size() - 2, 1);
        text += line;
    }
    return text;
}

} // namespace host
