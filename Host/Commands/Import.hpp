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
    struct Failure {
        std::filesystem::path path;
        std::string reason; ///< for people
        bool mayPass;       ///< so it is worth another try
    };

    std::size_t screenshots = 0, photographs = 0, ownPictures = 0;
    std::vector<std::filesystem::path> duplicates; ///< that the library has already
    std::vector<Failure> failed;
};

/// Copies files into the library; those that it has already are left out. Files are decoded first and a batch of them
/// is filed then; only for that the library is locked. Stops between two batches on Ctrl-C: what was imported by then
/// stays. On the main thread.
Imported importFiles(const std::vector<std::filesystem::path>& files, bool asScreenshots, bool quiet);

/// `velmorant import`.
ExitStatus import(const ImportOptions& options);

} // namespace host
