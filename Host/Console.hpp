#pragma once

#include <string_view>

namespace host {

// Any thread.

/// Standard output, for results. Answers false once it is closed or full: what was printed is then not whole.
bool print(std::string_view text);

/// Standard error, one line: for everything that is no result. Cannot fail usefully.
void complain(std::string_view line);

/// What the program is at, in the last line of standard error where that is a terminal: the next call replaces it, and
/// anything else that is printed takes its place. An empty one takes it away.
void showStatus(std::string_view line);

} // namespace host
