#pragma once

#include "Platform/CoreGraphics/Bitmap.hpp"

#include <png.h>

#include <filesystem>

namespace platform {

/// An ordinary decoder's way from the file to pixels of the bitmap's size; false where it fails.
inline bool readWithLibpng(const std::filesystem::path& file, Bitmap& into) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0)
        return false;
    image.format = PNG_FORMAT_RGBA;
    return png_image_finish_read(&image, nullptr, into.row(0), 0, nullptr) != 0;
}

} // namespace platform
