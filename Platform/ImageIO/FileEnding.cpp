#include "Platform/ImageIO/FileEnding.hpp"

#include <algorithm>
#include <string>

namespace platform {

const char* fileEnding(ImageFormat format) {
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

std::optional<ImageFormat> formatByEnding(const std::filesystem::path& file) {
    using enum ImageFormat;
    std::string ending = file.extension().native();
    std::ranges::transform(ending, ending.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    if (ending == ".jpeg")
        return jpeg;
    for (const ImageFormat format : {png, jpeg, webp, avif, jxl, pdf})
        if (ending == fileEnding(format))
            return format;
    return std::nullopt;
}

} // namespace platform
