#pragma once

#include <string_view>

namespace host {

// The style and the script of the report's page, from Page.css and Page.js.
extern const std::string_view pageStyle, pageScript;

} // namespace host
