#pragma once

#include "Host/Outputs.hpp"
#include "Platform/CoreImage/CIImage.hpp"
#include "Platform/Foundation/Date.hpp"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// By this, in the metadata, the program knows the pictures that it made.
inline constexpr const char* softwareMark = "Velmorant";

/// Why a picture of this size cannot be written so, for people, with the remedies; known before anything is drawn.
std::optional<std::string> refusalOf(const OutputFile& output, std::int64_t width, std::int64_t height);

/// Draws `extent` of `recipe` band by band into the file: never a bitmap of the whole, and nothing under the file's
/// name until all of it is on the disk. A picture that is to be split goes into files of that name with "-1", "-2" …
/// before the ending, if it is taller than one may be. Answers the files' paths, the upper part's first; "-" is
/// standard output. `captureDate` and the program's mark go into the metadata. Stops with `cancelled` on Ctrl-C; after
/// an error in drawing no file is left behind. Any thread.
[[nodiscard]] std::expected<std::vector<std::filesystem::path>, platform::ImageError>
writePicture(const platform::CIImage& recipe, const platform::CGRect& extent, const OutputFile& output,
             const platform::Date& captureDate);

} // namespace host
