#pragma once

#include "Host/Commands/Stitch.hpp"

namespace CLI {
class App;
}

namespace host {

/// Adds the options that say where pictures go and how they are made, to a command that makes some.
void addPictureOptions(CLI::App& command, StitchOptions& options);

} // namespace host
