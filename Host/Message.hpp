#pragma once

#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace host {

/// The door that every message for people passes through, so that messages can be translated: `text`, a literal, in the
/// user's language, each "{}" in it replaced by the next of `parts`; a translation may say "{2}" for the second. What is
/// the same in all calls belongs into the text, where translators see it. JSON, ids and log messages do not pass here.
std::string message(const char* text, std::initializer_list<std::string_view> parts = {});

/// The same for a text that depends on a count.
std::string message(const char* one, const char* many, std::size_t count,
                    std::initializer_list<std::string_view> parts = {});

/// The same for parts of any number.
std::string messageOf(const char* text, std::span<const std::string_view> parts);

/// Marks a literal that gets into a message by way of a variable.
constexpr const char* translatable(const char* text) {
    return text;
}

/// A file's name as a terminal may show it: control characters and bytes that are no UTF-8 are escaped as "\x1b", those
/// that turn the direction of writing as "\u202e". A name with characters that are written from right to left is isolated
/// (between U+2068 and U+2069), so that it leaves what stands beside it in its place.
std::string shown(const std::filesystem::path& file);

} // namespace host
