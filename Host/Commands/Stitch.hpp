#pragma once

#include "Host/ExitStatus.hpp"
#include "Host/InputFiles.hpp"
#include "Host/Outputs.hpp"
#include "Host/Seams.hpp"
#include "Host/StitchRun.hpp"

namespace host {

struct StitchOptions {
    InputOptions input;
    OutputOptions output;
    PictureOptions picture;
    double interval = 20;      ///< seconds by which the screenshots of two groups are apart, at least
    std::vector<Place> places; ///< of screenshots placed by hand
    bool together = false;     ///< one group of all files, in the order in which they are named
    bool cache = true;         ///< alignments found earlier are used, and those found now are kept
    bool json = false;
    bool verbose = false;
};

/// `velmorant stitch`: makes a picture of every run of screenshots among the files named.
ExitStatus stitch(const StitchOptions& options);

} // namespace host
