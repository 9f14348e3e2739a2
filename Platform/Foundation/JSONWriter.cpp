#include "Platform/Foundation/JSONWriter.hpp"

#include "Platform/Foundation/UTF8.hpp"

#include <cassert>
#include <charconv>
#include <cmath>

namespace platform {

/// A comma where another value stands before.
void JSONWriter::separate() {
    if (!text_.empty() && text_.back() != '{' && text_.back() != '[' && text_.back() != ':')
        text_ += ',';
}

JSONWriter& JSONWriter::begin(char bracket) {
    separate();
    text_ += bracket;
    return *this;
}

JSONWriter& JSONWriter::end(char bracket) {
    text_ += bracket;
    return *this;
}

JSONWriter& JSONWriter::key(std::string_view name) {
    separate();
    appendString(name);
    text_ += ':';
    return *this;
}

JSONWriter& JSONWriter::value(std::string_view text) {
    separate();
    appendString(text);
    return *this;
}

JSONWriter& JSONWriter::value(std::int64_t number) {
    separate();
    text_ += std::to_string(number);
    return *this;
}

JSONWriter& JSONWriter::value(double number) {
    assert(std::isfinite(number));
    separate();
    char digits[32];
    const auto written = std::to_chars(digits, digits + sizeof digits, number);
    text_.append(digits, written.ptr);
    return *this;
}

JSONWriter& JSONWriter::value(bool truth) {
    separate();
    text_ += truth ? "true" : "false";
    return *this;
}

JSONWriter& JSONWriter::null() {
    separate();
    text_ += "null";
    return *this;
}

void JSONWriter::appendString(std::string_view text) {
    constexpr char digits[] = "0123456789abcdef";
    text_ += '"';
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        const auto byte = static_cast<unsigned char>(text.front());
        if (length == 0)
            text_ += "\xef\xbf\xbd"; // U+FFFD
        else if (byte == '"' || byte == '\\')
            text_.append({'\\', text.front()});
        else if (byte == '\n')
            text_ += "\\n";
        else if (byte < 0x20)
            text_.append("\\u00").append({digits[byte >> 4], digits[byte & 15]});
        else
            text_.append(text.substr(0, length));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    text_ += '"';
}

} // namespace platform
