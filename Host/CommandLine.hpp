#pragma once

#include "Host/ExitStatus.hpp"

#include <expected>
#include <functional>

namespace host {

/// Reads the arguments and answers the command that they name, not run yet; or how the call ended where they are wrong
/// or ask for help.
std::expected<std::function<ExitStatus()>, ExitStatus> commandOf(int argumentCount, const char* const* arguments);

/// The same, and runs the command; answers what to tell the caller. The word `stitch` may be
/// left out before a file, a folder or an option of it.
ExitStatus runCommandLine(int argumentCount, const char* const* arguments);

} // namespace host
