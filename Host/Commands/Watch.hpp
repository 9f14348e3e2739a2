#pragma once

#include "Host/ExitStatus.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct WatchOptions {
    std::vector<std::filesystem::path> folders; ///< whose new pictures are imported
    std::vector<std::string> excluded;          ///< patterns of file names that are not
    bool save = false;                          ///< runs are stitched and filed once they are quiet
    bool json = false;                          ///< a change a line, as JSON
};

/// `velmorant watch`: until Ctrl-C, tells every change of the groups as it happens.
ExitStatus watch(const WatchOptions& options);

/// `velmorant status`: what a running watch last saw.
ExitStatus watchStatus(bool json);

} // namespace host
