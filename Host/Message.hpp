#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>

namespace host {

/// The door that every message for people passes through, so that messages can be translated: `text` in the user's
/// language, each "{}" in it replaced by the next of `parts`. JSON, ids and log messages do not pass here.
std::string message(const char* text, std::initializer_list<std::string_view> parts = {});

/// The same for a text that depends on a count.
std::string message(const char* one, const char* many, std::size_t count,
                    std::initializer_list<std::string_view> parts = {});

/// A file's name as a terminal may show it: control characters and bytes that are no UTF-8 are escaped as "\x1b".
std::string shown(const std::filesystem::path& file);

} // namespace host
