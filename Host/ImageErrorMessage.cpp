#include "Host/ImageErrorMessage.hpp"

#include "Host/Message.hpp"

namespace host {

namespace {

const char* sentence(platform::ImageError::Code code) {
    using enum platform::ImageError::Code;
    switch (code) {
    case missing:
        return translatable("{}: there is no such file");
    case noPermission:
        return translatable("{}: permission denied; check the file's rights");
    case notRegularFile:
        return translatable("{}: not a regular file; name an image file or a folder of them");
    case notAnImage:
        return translatable("{}: not an image of a known format; PNG, JPEG, WebP, HEIF, AVIF and JPEG XL are read");
    case unsupported:
        return translatable("{}: a kind of image that is not supported; convert it to PNG");
    case truncated:
        return translatable("{}: the file is cut off; copy it again from where it came");
    case damaged:
        return translatable("{}: the image is damaged; copy it again from where it came");
    case tooLarge:
        return translatable("{}: the image is larger than allowed; --max-pixels sets the limit on its size");
    case overloaded:
        return translatable("{}: it holds more than a picture needs; save it anew as PNG, without its metadata");
    case changed:
        return translatable("{}: the file changed while it was read; try again");
    case readFailed:
        return translatable("{}: the file could not be read");
    case writeFailed:
        return translatable("{}: the picture could not be written; make room, or name another place");
    case outOfMemory:
        return translatable("{}: there is not enough memory for this image");
    case overMemory:
        return translatable("{}: it takes more memory at once than is allowed; allow more with --memory");
    case cancelled:
        return translatable("{}: interrupted");
    }
    return translatable("{}: unknown error");
}

} // namespace

std::string imageErrorMessage(const std::filesystem::path& file, const platform::ImageError& error) {
    std::string text = message(sentence(error.code), {shown(file)});
    if (!error.detail.empty())
        text = message("{} ({})", {text, shown(error.detail)});
    return text;
}

bool mayPass(const platform::ImageError& error) {
    using enum platform::ImageError::Code;
    return error.code == readFailed || error.code == writeFailed || error.code == outOfMemory || error.code == changed;
}

} // namespace host
