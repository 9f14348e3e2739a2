#include "Platform/Foundation/JSONWriter.hpp"

#include "Platform/Foundation/UTF8.hpp"

#include <cassert>
#include <charconv>
#include <cmath>

namespace platform {

namespace {

constexpr std::size_t pieceSize = std::size_t{1} << 16;

template <class Number>
void appendNumber(std::string& text, Number number) {
    char digits[32];
    const auto written = std::to_chars(digits, digits + sizeof digits, number);
    text.append(digits, written.ptr);
}

} // namespace

/// What stands before a key or a value.
void JSONWriter::separate() {
    if (followsKey_) {
        followsKey_ = false;
        return;
    }
    if (!isFirst_)
        text_ += ',';
    if (depth_ > 0)
        breakLine();
    isFirst_ = false;
    passOn(pieceSize);
}

void JSONWriter::breakLine() {
    if (layout_ == Layout::indented)
        text_.append(1, '\n').append(2 * depth_, ' ');
}

void JSONWriter::passOn(std::size_t atLeast) {
    if (!sink_ || text_.size() < atLeast)
        return;
    if (!error_)
        if (auto written = sink_->write(std::as_bytes(std::span(text_))); !written)
            error_ = written.error();
    text_.clear();
}

JSONWriter& JSONWriter::begin(char bracket) {
    separate();
    text_ += bracket;
    ++depth_;
    isFirst_ = true;
    return *this;
}

JSONWriter& JSONWriter::end(char bracket) {
    assert(depth_ > 0 && !followsKey_);
    --depth_;
    if (!isFirst_)
        breakLine();
    text_ += bracket;
    isFirst_ = false;
    return *this;
}

JSONWriter& JSONWriter::key(std::string_view name) {
    assert(depth_ > 0 && !followsKey_);
    separate();
    appendString(name);
    text_ += layout_ == Layout::indented ? ": " : ":";
    followsKey_ = true;
    return *this;
}

JSONWriter& JSONWriter::value(std::string_view text) {
    separate();
    appendString(text);
    return *this;
}

JSONWriter& JSONWriter::integer(std::int64_t number) {
    separate();
    appendNumber(text_, number);
    return *this;
}

JSONWriter& JSONWriter::integer(std::uint64_t number) {
    separate();
    appendNumber(text_, number);
    return *this;
}

JSONWriter& JSONWriter::value(double number) {
    if (!std::isfinite(number)) {
        if (!error_)
            error_ = std::make_error_code(std::errc::argument_out_of_domain);
        return null();
    }
    separate();
    appendNumber(text_, number);
    return *this;
}

JSONWriter& JSONWriter::literal(std::string_view text) {
    separate();
    text_ += text;
    return *this;
}

std::expected<void, std::error_code> JSONWriter::finish() {
    assert(depth_ == 0 && !isFirst_);
    passOn(1);
    if (error_)
        return std::unexpected(error_);
    return {};
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
