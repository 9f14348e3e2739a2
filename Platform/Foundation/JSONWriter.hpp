#pragma once

#include "Platform/Foundation/ByteSink.hpp"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// Writes one JSON text, value by value, into a string of its own or into a sink. Always valid UTF-8: each byte of a
/// string that is part of no character becomes U+FFFD. Numbers with fraction are written in the shortest form that
/// reads back the same. Failures are kept until `finish`: of the sink, and a number that is not finite (written as
/// null).
class JSONWriter {
public:
    enum class Layout {
        compact,  ///< no blanks
        indented, ///< for people: a line for each value, two blanks a level
    };

    explicit JSONWriter(Layout layout = Layout::compact) : layout_(layout) {}
    /// Hands the text to `sink` piece by piece, the last one in `finish`.
    explicit JSONWriter(ByteSink& sink, Layout layout = Layout::compact) : sink_(&sink), layout_(layout) {}

    JSONWriter& beginObject() { return begin('{'); }
    JSONWriter& endObject() { return end('}'); }
    JSONWriter& beginArray() { return begin('['); }
    JSONWriter& endArray() { return end(']'); }

    /// Within an object, before each value.
    JSONWriter& key(std::string_view name);

    JSONWriter& value(std::string_view text);
    JSONWriter& value(const char* text) { return value(std::string_view(text)); }
    JSONWriter& value(const std::string& text) { return value(std::string_view(text)); }
    JSONWriter& value(double number);
    template <std::integral Number>
    JSONWriter& value(Number number) {
        if constexpr (std::same_as<Number, bool>)
            return literal(number ? "true" : "false");
        else if constexpr (std::signed_integral<Number>)
            return integer(std::int64_t{number});
        else
            return integer(std::uint64_t{number});
    }
    JSONWriter& null() { return literal("null"); }

    /// `key` and `value` in one.
    template <class Value>
    JSONWriter& member(std::string_view name, const Value& of) {
        return key(name).value(of);
    }

    /// Without a sink: the text so far.
    const std::string& text() const { return text_; }

    /// After the last value: the first error, if there was one.
    [[nodiscard]] std::expected<void, std::error_code> finish();

private:
    JSONWriter& begin(char bracket);
    JSONWriter& end(char bracket);
    JSONWriter& literal(std::string_view text);
    JSONWriter& integer(std::int64_t number);
    JSONWriter& integer(std::uint64_t number);

    void separate();
    void breakLine();
    void appendString(std::string_view text);
    void passOn(std::size_t atLeast);

    ByteSink* const sink_ = nullptr;
    const Layout layout_;
    std::string text_; ///< with a sink: what it has not been handed yet
    std::size_t depth_ = 0;
    bool isFirst_ = true;     ///< nothing stands before the next value of this object, array or text
    bool followsKey_ = false; ///< the next value belongs to a key
    std::error_code error_;
};

} // namespace platform
