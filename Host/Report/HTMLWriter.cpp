#include "Host/Report/HTMLWriter.hpp"

#include "Platform/Foundation/UTF8.hpp"

#include <span>

namespace host {

namespace {

constexpr std::size_t pieceSize = 1 << 16;
constexpr std::string_view replacement = "\xef\xbf\xbd"; // U+FFFD

/// What stands for a character of one byte; empty for the character itself.
std::string_view escaped(char character) {
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        const bool isControl = static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
        return isControl && character != '\n' && character != '\t' ? replacement : std::string_view();
    }
}

} // namespace

HTMLWriter::HTMLWriter(platform::ByteSink& sink) : sink_(sink) {
    raw("<!DOCTYPE html>\n");
}

HTMLWriter& HTMLWriter::begin(const char* name, Attributes attributes) {
    tag(name, attributes);
    open_.push_back(name);
    return raw(">");
}

HTMLWriter& HTMLWriter::end() {
    const bool isWithinText = open_.back() == std::string_view("bdi"); // a line's end would be a space there
    pending_.append("</").append(open_.back()).append(isWithinText ? ">" : ">\n");
    open_.pop_back();
    passOn(pieceSize);
    return *this;
}

HTMLWriter& HTMLWriter::empty(const char* name, Attributes attributes) {
    tag(name, attributes);
    return raw("/>\n");
}

HTMLWriter& HTMLWriter::text(std::string_view text) {
    escape(text);
    passOn(pieceSize);
    return *this;
}

HTMLWriter& HTMLWriter::element(const char* name, Attributes attributes, std::string_view content) {
    return begin(name, attributes).text(content).end();
}

HTMLWriter& HTMLWriter::raw(std::string_view markup) {
    pending_.append(markup);
    passOn(pieceSize);
    return *this;
}

std::expected<void, std::error_code> HTMLWriter::finish() {
    while (!open_.empty())
        end();
    passOn(0);
    if (error_)
        return std::unexpected(error_);
    return {};
}

void HTMLWriter::tag(const char* name, Attributes attributes) {
    pending_.append("<").append(name);
    for (const Attribute& attribute : attributes) {
        pending_.append(" ").append(attribute.name).append("=\"");
        escape(attribute.value);
        pending_.append("\"");
    }
}

void HTMLWriter::escape(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = platform::utf8Length(text);
        const std::string_view character = text.substr(0, length > 0 ? length : 1);
        const std::string_view instead = length == 0   ? replacement
                                         : length == 1 ? escaped(text[0])
                                                       : std::string_view();
        pending_.append(instead.empty() ? character : instead);
        text.remove_prefix(character.size());
    }
}

void HTMLWriter::passOn(std::size_t atLeast) {
    if (pending_.size() < atLeast)
        return;
    if (!error_)
        if (const auto written = sink_.write(std::as_bytes(std::span(pending_))); !written)
            error_ = written.error();
    pending_.clear();
}

} // namespace host
