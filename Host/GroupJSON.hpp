#pragma once

#include "Host/ImageFiles.hpp"
#include "Host/Seams.hpp"
#include "Host/StitchRun.hpp"
#include "Platform/Foundation/JSONWriter.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace host {

// The JSON that every command prints of items and groups. Rows count from the top.

/// ISO 8601 in UTC, as in "2026-03-01T10:11:12Z".
std::string isoDate(const platform::Date& date);

void writeItem(platform::JSONWriter& json, const velmorant::StitchableItem& item, const std::filesystem::path& path,
               bool isMissing = false);

/// The first row in and the one after the last.
void writeRange(platform::JSONWriter& json, const velmorant::RowRange& range);

/// A list of paths.
void writePaths(platform::JSONWriter& json, const std::vector<velmorant::StitchableItem>& items,
                const ImageFiles& files);

enum class MemoryShown { no, yes };
void writeGroup(platform::JSONWriter& json, const StitchedGroup& stitched, MemoryShown memory, const ImageFiles& files,
                const std::vector<Seam>& seams);

} // namespace host
