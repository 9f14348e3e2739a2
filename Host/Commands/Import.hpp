#pragma once

#include "Host/ExitStatus.hpp"
#include "Host/InputFiles.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace host {

struct ImportOptions {
    InputOptions input;
    bool asScreenshots = false; ///< all that are named are screenshots
    bool json = false;
    bool quiet = false;
};

/// What an import did.
struct Imported {
    std::size_t screenshots = 0, photographs = 0, ownPictures = 0;
    std::vector<std::filesystem::path> duplicates;                     ///< that the library has already
    std::vector<std::pair<std::filesystem::path, std::string>> failed; ///< with the reason, for people
};

/// Copies files into the library; those that it has already are left out. Stops between two batches on Ctrl-C: what was
/// imported by then stays. On the main thread.
Imported importFiles(const std::vector<std::filesystem::path>& files, bool asScreenshots, bool quiet);

/// `velmorant import`.
ExitStatus import(const ImportOptions& options);

} // namespace host
