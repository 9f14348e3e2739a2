#pragma once

#include "Host/ExitStatus.hpp"

namespace host {

/// Reads the arguments, runs the command that they name and answers what to tell the caller. The word `stitch` may be
/// left out before a file, a folder or an option of it.
ExitStatus runCommandLine(int argumentCount, const char* const* arguments);

} // namespace host
