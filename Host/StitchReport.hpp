#pragma once

#include "Host/ExitStatus.hpp"
#include "Host/FileSource.hpp"
#include "Host/Seams.hpp"
#include "Host/StitchRun.hpp"

#include <memory>
#include <string>
#include <vector>

namespace host {

/// What a call of `stitch` did, to be told.
struct StitchReport {
    std::shared_ptr<const ImageFiles> files;
    std::shared_ptr<const Seams> seams;
    std::vector<StitchedGroup> groups;
    std::vector<velmorant::StitchableItem> alone; ///< in no group
    std::vector<BadFile> failed;
    std::vector<RepeatedFile> repeated;
    std::vector<std::filesystem::path> ownPictures; ///< made by this program, so skipped
    bool dryRun = false;
    bool together = false; ///< all files were to be one group
    bool strict = false;
    bool canPlace = true; ///< the call knows how to place a screenshot by hand

    /// `success` when every screenshot found its place; one in no group has none only if all were to be in one, or if
    /// the call is strict.
    ExitStatus status() const;

    /// For programs: one JSON object and a line break. Dates are ISO 8601 in UTC; rows count from the top.
    std::string json() const;

    /// For people: a line for each group that was not joined.
    std::vector<std::string> refusals() const;

    /// For people: a line a group, one for each screenshot that was left out, and one for all the rest.
    std::string summary() const;
};

} // namespace host
