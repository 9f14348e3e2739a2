#pragma once

#include "Host/FileLoader.hpp"
#include "Host/StitchReport.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Where a report goes.
struct ReportOptions {
    std::filesystem::path file; ///< empty: none is asked for
    bool force = false;         ///< a file that exists is replaced
};

/// Why the page cannot be written there, for people, before anything is done: no folder, a file that exists, a name
/// that is none of a page.
std::optional<std::string> refusalOfReport(const ReportOptions& options,
                                           const std::vector<std::filesystem::path>& inputs);

/// Writes what a call did as one page for a browser, everything within it: each group's screenshots in order, the
/// picture, its seams with their verdicts, and what was left out. Screenshots and pictures are drawn anew, scaled down
/// so far that the page stays within some 30 MB, and go into the file as they are drawn; it is there whole or not at
/// all. A text for people where it could not be written. Any thread.
std::optional<std::string> writeReport(const StitchReport& report, const std::shared_ptr<FileLoader>& loader,
                                       const ReportOptions& options);

} // namespace host
