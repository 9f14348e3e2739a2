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
    }
    return ".png";
}

} // namespace platform
