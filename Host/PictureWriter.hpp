#pragma once

#include "Host/Outputs.hpp"
#include "Platform/CoreImage/CIImage.hpp"
#include "Platform/Foundation/Date.hpp"

#include <expected>

namespace host {

/// By this, in the metadata, the program knows the pictures that it made.
inline constexpr const char* softwareMark = "Velmorant";

/// Draws `extent` of `recipe` band by band into the file: never a bitmap of the whole, and nothing under the file's
/// name until all of it is on the disk. `captureDate` and the program's mark go into the metadata. Stops with `cancelled` on Ctrl-C;
/// after any error no file is left behind. Any thread.
[[nodiscard]] std::expected<void, platform::ImageError> writePicture(const platform::CIImage& recipe,
                                                                     const platform::CGRect& extent,
                                                                     const OutputFile& output,
                                                                     const platform::Date& captureDate);

} // namespace host
