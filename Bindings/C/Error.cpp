#include "Bindings/C/Error.hpp"

namespace bindings {

using platform::ImageError;

namespace {

const char* sentence(ImageError::Code code) {
    using enum ImageError::Code;
    switch (code) {
    case missing:
        return "there is no such file";
    case noPermission:
        return "permission denied; check the file's rights";
    case notRegularFile:
        return "not a regular file; name an image file";
    case notAnImage:
        return "not an image of a known format";
    case unsupported:
        return "a kind of image that is not supported; convert it to PNG";
    case truncated:
        return "the file is cut off; copy it again from where it came";
    case damaged:
        return "the image is damaged; copy it again from where it came";
    case tooLarge:
        return "the image is too large";
    case overloaded:
        return "the image holds more than a picture needs; save it anew as PNG, without its metadata";
    case overMemory:
        return "the image would take more memory at once than is allowed";
    case changed:
        return "the file changed while it was read; try again";
    case readFailed:
        return "the file could not be read";
    case writeFailed:
        return "the picture could not be written; make room, or name another place";
    case outOfMemory:
        return "there is not enough memory for this image";
    case cancelled:
        return "cancelled";
    }
    return "unknown error";
}

Error errorOf(const std::string& name, const ImageError& error, velmorant_status status) {
    if (error.code == ImageError::Code::cancelled)
        status = VELMORANT_CANCELLED;
    if (error.code == ImageError::Code::outOfMemory || error.code == ImageError::Code::overMemory)
        status = VELMORANT_NO_MEMORY;
    std::string text = name + ": " + sentence(error.code);
    if (!error.detail.empty())
        text += " (" + error.detail + ")";
    return {status, text};
}

} // namespace

Error readError(const std::string& screenshot, const ImageError& error) {
    return errorOf(screenshot, error, VELMORANT_BAD_FILE);
}

Error writeError(const std::filesystem::path& file, const ImageError& error) {
    return errorOf(file.native(), error, VELMORANT_NOT_WRITTEN);
}

} // namespace bindings
