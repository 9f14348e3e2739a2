#pragma once

#include "Platform/Foundation/ByteSink.hpp"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

/// Writes an HTML page into a sink, element by element. Whatever the texts and attributes hold, the page is well formed
/// and nothing of them becomes markup: they are escaped, control characters and bytes that are no UTF-8 become U+FFFD,
/// and each element that was begun is ended in its place. Every attribute has a value in quotes and void elements end
/// with "/>", so that XML parsers read the page, too. The first failure of the sink is kept until `finish`.
class HTMLWriter {
public:
    struct Attribute {
        std::string_view name; ///< ours: not escaped
        std::string value;
    };
    using Attributes = std::initializer_list<Attribute>;

    explicit HTMLWriter(platform::ByteSink& sink);

    /// `name` stays valid until the element ends.
    HTMLWriter& begin(const char* name, Attributes attributes = {});
    HTMLWriter& end();
    /// An element that cannot hold any, such as an image.
    HTMLWriter& empty(const char* name, Attributes attributes);

    HTMLWriter& text(std::string_view text);
    /// `begin`, `text` and `end` in one.
    HTMLWriter& element(const char* name, Attributes attributes, std::string_view text);
    /// Markup, style or script of our own, as it is.
    HTMLWriter& raw(std::string_view markup);

    /// Ends all elements. Once only; the first error, if there was one.
    [[nodiscard]] std::expected<void, std::error_code> finish();

private:
    void tag(const char* name, Attributes attributes);
    void escape(std::string_view text);
    void passOn(std::size_t atLeast);

    platform::ByteSink& sink_;
    std::string pending_;
    std::vector<const char*> open_;
    std::error_code error_;
};

} // namespace host
