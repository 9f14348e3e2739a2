#pragma once

#include "Host/ExitStatus.hpp"

#include <filesystem>
#include <vector>

namespace host {

struct StitchOptions {
    std::vector<std::filesystem::path> inputs;
    std::filesystem::path output; ///< empty: a name beside the first screenshot
    bool force = false;
    bool json = false;
    bool verbose = false;
};

/// `velmorant stitch --together`: makes one picture of all the screenshots named.
ExitStatus stitch(const StitchOptions& options);

} // namespace host
