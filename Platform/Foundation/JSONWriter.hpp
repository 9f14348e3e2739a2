#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// Builds one JSON text, value by value. Always valid UTF-8: bytes of a string that are no UTF-8 become U+FFFD. Numbers
/// with fraction are written in the shortest form that reads back the same; they must be finite.
class JSONWriter {
public:
    JSONWriter& beginObject() { return begin('{'); }
    JSONWriter& endObject() { return end('}'); }
    JSONWriter& beginArray() { return begin('['); }
    JSONWriter& endArray() { return end(']'); }

    /// Within an object, before each value.
    JSONWriter& key(std::string_view name);

    JSONWriter& value(std::string_view text);
    JSONWriter& value(const char* text) { return value(std::string_view(text)); }
    JSONWriter& value(const std::string& text) { return value(std::string_view(text)); }
    JSONWriter& value(std::int64_t number);
    JSONWriter& value(double number);
    JSONWriter& value(bool truth);
    JSONWriter& null();

    /// `key` and `value` in one.
    template <class Value>
    JSONWriter& member(std::string_view name, const Value& of) {
        return key(name).value(of);
    }

    const std::string& text() const { return text_; }

private:
    JSONWriter& begin(char bracket);
    JSONWriter& end(char bracket);
    void separate();
    void appendString(std::string_view text);

    std::string text_;
};

} // namespace platform
