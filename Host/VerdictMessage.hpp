#pragma once

#include "Orbelquist/KSVVerdict.hpp"

#include <string>

namespace host {

/// Why two screenshots match or do not, for people: what `verdict.description()` says to programs and logs, in the user's
/// language.
std::string verdictMessage(const orbelquist::KSVVerdict& verdict);

} // namespace host
