#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"

#include <filesystem>
#include <optional>

namespace platform {

/// How a file of the format is named at its end, as in ".png".
const char* fileEnding(ImageFormat format);

/// The format of a picture that is written into a file of this name, in capitals or not; nothing where the ending names
/// none that is written.
std::optional<ImageFormat> formatByEnding(const std::filesystem::path& file);

} // namespace platform
