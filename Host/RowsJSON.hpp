#pragma once

#include "Host/ImageFiles.hpp"
#include "Host/StitchRun.hpp"

#include <string>
#include <vector>

namespace host {

/// For programs and for evidence: of every picture that was made, each stretch of its rows with the screenshots and
/// their rows that show there. Rows count from the top edges, the first number in, the second one out:
///
///     {"pictures": [{"output", "width", "height",
///                    "rows": [{"rows": [a, b], "blended": bool, "sources": [{"path", "rows": [c, d]}]}]}]}
///
/// Where two or more are blended they come from the bottom up. No source: nothing covers these rows.
std::string rowsJSON(const std::vector<StitchedGroup>& groups, const ImageFiles& files);

} // namespace host
