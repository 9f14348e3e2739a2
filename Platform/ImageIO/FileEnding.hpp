#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"

namespace platform {

/// How a file of the format is named at its end, as in ".png".
constexpr const char* fileEnding(ImageFormat format) {
    switch (format) {
    case ImageFormat::png:
        break;
    case ImageFormat::jpeg:
        return ".jpg";
    case ImageFormat::webp:
        return ".webp";
    case ImageFormat::heif:
        return ".heic";
    case ImageFormat::avif:
        return ".avif";
    case ImageFormat::jxl:
        return ".jxl";
    case ImageFormat::pdf:
        return ".pdf";
    }
    return ".png";
}

} // namespace platform
