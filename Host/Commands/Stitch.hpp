#pragma once

#include "Host/ExitStatus.hpp"
#include "Host/InputFiles.hpp"
#include "Host/Outputs.hpp"
#include "Host/Report/ReportPage.hpp"
#include "Host/Seams.hpp"
#include "Host/StitchReport.hpp"
#include "Host/StitchRun.hpp"
#include "Velmorant/Pipeline/Pipeline.hpp"

#include <functional>
#include <memory>

namespace host {

struct StitchOptions {
    InputOptions input;
    OutputOptions output;
    PictureOptions picture;
    double interval = 20;       ///< seconds by which the screenshots of two groups are apart, at least
    std::vector<Place> places;  ///< of screenshots placed by hand
    std::filesystem::path rows; ///< a file that tells where every row of the pictures comes from; empty: none
    ReportOptions report;
    bool together = false;      ///< one group of all files, in the order in which they are named
    bool cache = true;          ///< alignments found earlier are used, and those found now are kept
    bool explain = false;       ///< groups whose alignment was found earlier are matched anew, to tell why
    bool json = false;
    bool verbose = false;
};

/// `velmorant stitch`: makes a picture of every run of screenshots among the files named.
ExitStatus stitch(const StitchOptions& options);

/// Makes a picture of every group of `pipeline`, whose items are of `files`, and tells what became of them. `addRest`
/// completes the report with what is in no group.
ExitStatus stitchGroups(const StitchOptions& options, const velmorant::Pipeline& pipeline,
                        const std::shared_ptr<ImageFiles>& files, const Outputs& outputs,
                        const std::function<void(StitchReport&)>& addRest);

/// The library's log messages, as the options want them.
std::shared_ptr<velmorant::LogStore> loggerFor(const StitchOptions& options);

} // namespace host
