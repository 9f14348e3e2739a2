#pragma once

#include <string>
#include <string_view>

namespace host {

/// What is wrong with a call, in the user's language: `what` is the sentence of the library that reads the arguments.
std::string callErrorMessage(std::string_view what);

} // namespace host
