#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Why a JSON text does not decode: what is wrong, and at which key path, as in "items[3].assetSize.width".
struct JSONError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A part of a JSON text that is being decoded. Strict: whatever is missing or of the wrong type throws `JSONError`;
/// 1170.0 and "1170" are no integers, 1170 is a number. Valid only within the decoding that it was handed to.
class JSONValue {
public:
    /// The member of an object.
    JSONValue operator[](std::string_view key) const;
    /// The elements of an array, in order.
    std::vector<JSONValue> elements() const;

    std::string string() const;
    std::int64_t integer() const;
    double number() const;
    bool boolean() const;

    [[noreturn]] void fail(const std::string& reason) const;

private:
    friend struct JSONDecoding;
    JSONValue(const void* node, std::string path) : node_(node), path_(std::move(path)) {}

    const void* node_;
    std::string path_;
};

namespace json {

/// Hands the whole text to `decode`. Text that is no JSON, or goes on after its value, is an error. Of members of one
/// name the last counts.
[[nodiscard]] std::expected<void, JSONError> decode(std::string_view text,
                                                    const std::function<void(const JSONValue&)>& decode);

/// Hands the members of the object that `text` must be to `decode`, one after the other: only one of them is held in
/// memory at a time.
[[nodiscard]] std::expected<void, JSONError>
decodeMembers(std::string_view text, const std::function<void(const std::string& key, const JSONValue&)>& decode);

} // namespace json

} // namespace platform
