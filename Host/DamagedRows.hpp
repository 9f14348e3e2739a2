#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"

#include <optional>

namespace host {

/// Decodes all rows of an image, a few at a time, and keeps none. What is wrong with them, or nothing. Any thread.
std::optional<platform::ImageError> damageIn(const platform::CGImageSource& image);

} // namespace host
