#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"

#include <filesystem>
#include <string>

namespace host {

/// One line for people that names the file, says what is wrong with it and what can be done.
std::string imageErrorMessage(const std::filesystem::path& file, const platform::ImageError& error);

/// Whether the same may go well later, with the file as it is.
bool mayPass(const platform::ImageError& error);

} // namespace host
