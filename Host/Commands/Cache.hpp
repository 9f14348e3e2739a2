#pragma once

#include "Host/ExitStatus.hpp"

namespace host {

/// `velmorant cache clear`: forgets all alignments found earlier, of every version of the program.
ExitStatus clearCache();

} // namespace host
