#pragma once

#include "Platform/Foundation/JSONDecoder.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// The values of a JSON text in the order in which they are written, a record each; those of an object or array follow
/// it and end before `end`. Names and strings lie in one buffer, so that a document that is filled again and again
/// allocates next to nothing.
struct JSONDocument {
    struct Text {
        std::size_t start = 0;
        std::size_t length = 0;
    };

    struct Node {
        JSONKind kind = JSONKind::null;
        bool boolean = false;
        std::int64_t integer = 0;
        double number = 0; ///< an integer's, too
        Text text = {};    ///< of a string
        Text key = {};     ///< of a member of an object
        std::size_t end = 0;
    };

    std::vector<Node> nodes;
    std::string texts;
    std::string rootPath; ///< the key path of the first node

    std::string_view view(const Text& text) const { return std::string_view(texts).substr(text.start, text.length); }

    /// As in "items[3].assetSize.width"; empty for the whole of a text.
    std::string path(std::size_t node) const;
};

/// Fills `document` with `text`. Throws `JSONError`.
void readJSON(std::string_view text, JSONDocument& document);

/// Fills `document` with the members of the object that `text` must be, one after the other, and calls `arrived` with
/// each one's name. Throws `JSONError`, which may come after some have arrived.
void readJSONMembers(std::string_view text, JSONDocument& document,
                     const std::function<void(const std::string& key)>& arrived);

} // namespace platform
