#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// The bytes of the character that `text`, not empty, begins with; 0 where it begins with none that UTF-8 allows
/// (RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF).
std::size_t utf8Length(std::string_view text);

} // namespace platform
