#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

struct JSONDocument;

/// Why a JSON text does not decode: what is wrong, and at which key path, as in "items[3].assetSize.width".
struct JSONError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What a value is written as.
enum class JSONKind : std::uint8_t {
    null,
    boolean,
    integer, ///< a number without fraction and exponent, within 64 bits
    number,  ///< any other
    string,
    array,
    object,
};

/// A part of a JSON text that is being decoded. Strict: whatever is missing or of the wrong type throws `JSONError`;
/// 1170.0 and "1170" are no integers, 1170 is a number. Valid only within the decoding that it was handed to.
class JSONValue {
public:
    /// The member of an object; of several of that name the last.
    JSONValue operator[](std::string_view key) const;
    /// The same, or nothing where there is none.
    std::optional<JSONValue> find(std::string_view key) const;
    /// All members of an object, in the order in which they are written.
    std::vector<std::pair<std::string, JSONValue>> members() const;
    /// The elements of an array, in order.
    std::vector<JSONValue> elements() const;

    std::string string() const;
    std::int64_t integer() const;
    double number() const; ///< integers, too
    bool boolean() const;

    JSONKind kind() const;

    [[noreturn]] void fail(const std::string& reason) const;

private:
    friend struct JSONDecoding;
    JSONValue(const JSONDocument& document, std::size_t node) : document_(&document), node_(node) {}

    const JSONDocument* document_;
    std::size_t node_;
};

namespace json {

/// Hands the whole text to `decode`. Text that is no JSON, that goes on after its value or nests more than 512 deep is
/// an error; a byte order mark in front is not.
[[nodiscard]] std::expected<void, JSONError> decode(std::string_view text,
                                                    const std::function<void(const JSONValue&)>& decode);

/// Hands the members of the object that `text` must be to `decode`, one after the other: only one of them is held in
/// memory at a time. Of several of one name all are handed over, in order. Not all that is wrong is known by then:
/// after an error forget what was decoded.
[[nodiscard]] std::expected<void, JSONError>
decodeMembers(std::string_view text, const std::function<void(const std::string& key, const JSONValue&)>& decode);

} // namespace json

} // namespace platform
