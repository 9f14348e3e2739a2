#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"

#include "Bindings/C/velmorant.h"

#include <filesystem>
#include <string>

namespace bindings {

/// What a call that failed answers, and what it says.
struct Error {
    velmorant_status status = VELMORANT_FAILED;
    std::string text;
};

/// Of a screenshot, which may be a file's path or a description.
Error readError(const std::string& screenshot, const platform::ImageError& error);

/// Of a picture that is being written.
Error writeError(const std::filesystem::path& file, const platform::ImageError& error);

} // namespace bindings
