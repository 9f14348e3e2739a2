#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"

#include <filesystem>

namespace host {

/// Whether a picture is most likely a screenshot and no photograph: by its name, else, without a camera's data, by its
/// shape. Phones and desktops write screenshots as PNG and photographs as JPEG, so a JPEG must have the width of a
/// known screen or be as tall as only phones' screens are, any other picture needs only the proportions of one.
bool isScreenshot(const std::filesystem::path& file, const platform::ImageProperties& properties);

/// When a picture was taken: by its metadata, else its name, else the time of the file.
platform::Date captureDate(const std::filesystem::path& file, const platform::ImageProperties& properties);

} // namespace host
