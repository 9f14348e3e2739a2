#pragma once

#include "Host/ExitStatus.hpp"
#include "Host/InputFiles.hpp"

#include <filesystem>

namespace host {

struct ExplainOptions {
    InputOptions input;          ///< in the order in which they are named
    std::filesystem::path image; ///< a picture of the pair; empty: none
    bool force = false;          ///< a file that exists is replaced
    bool json = false;
};

/// `velmorant explain`: tells of every two consecutive screenshots whether they match, how, and why not.
ExitStatus explain(const ExplainOptions& options);

} // namespace host
