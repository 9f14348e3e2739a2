#pragma once

#include "Host/ExitStatus.hpp"
#include "Host/FileSource.hpp"
#include "Host/GroupJoiner.hpp"

#include <memory>
#include <string>
#include <vector>

namespace host {

/// What a call of `stitch` did, to be told.
struct StitchReport {
    std::shared_ptr<const FileSource> files;
    std::vector<JoinedGroup> groups;
    std::vector<BadFile> failed;

    /// `success` when every screenshot found its place.
    ExitStatus status() const;

    /// For programs: one JSON object and a line break. Dates are ISO 8601 in UTC; rows count from the top.
    std::string json() const;

    /// For people: a line a group, and one for each screenshot that was left out.
    std::string summary() const;
};

} // namespace host
