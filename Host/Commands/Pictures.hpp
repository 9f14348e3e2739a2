#pragma once

#include "Host/Commands/Decisions.hpp"
#include "Host/Commands/Stitch.hpp"

namespace host {

/// `velmorant show GROUP`: how its screenshots lie and why, or why they do not join.
ExitStatus showGroup(const std::string& group, StitchOptions options);

/// `velmorant render GROUP -o FILE`.
ExitStatus renderGroup(const std::string& group, const StitchOptions& options);

/// `velmorant groups --report`: every run of the library on one page.
ExitStatus reportGroups(StitchOptions options);

/// `velmorant save`: files the groups' pictures in the library's album.
ExitStatus saveGroups(const NamedOptions& groups);

/// `velmorant export ITEM… -o FOLDER`: copies of the original files.
ExitStatus exportItems(const NamedOptions& items, const std::filesystem::path& folder);

} // namespace host
