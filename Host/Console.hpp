#pragma once

#include <string_view>

namespace host {

/// Standard output, for results. Answers false once it is closed or full: what was printed is then not whole.
bool print(std::string_view text);

/// Standard error, one line: for everything that is no result. Cannot fail usefully.
void complain(std::string_view line);

} // namespace host
