#include "Platform/ImageIO/CGImageDestination.hpp"

#include "Platform/Foundation/Device.hpp"
#include "Platform/ImageIO/ImageCodec.hpp"

namespace platform {

std::int64_t CGImageDestination::maxHeight(ImageFormat format) {
    return codecOf(format).maxHeight;
}

std::int64_t CGImageDestination::memoryFor(ImageFormat format, std::int64_t width, std::int64_t height) {
    return codecOf(format).bytesPerPixel * width * height;
}

std::expected<std::unique_ptr<CGImageDestination>, ImageError>
CGImageDestination::make(ImageFormat format, ByteSink& sink, const ImageHeader& header, const EncodeOptions& options) {
    const ImageCodec& codec = codecOf(format);
    if (header.height > codec.maxHeight || header.width > codec.maxHeight)
        return std::unexpected(ImageError{ImageError::Code::tooLarge, std::to_string(header.width) + " x " +
                                                                          std::to_string(header.height) +
                                                                          " pixels, the format holds " +
                                                                          std::to_string(codec.maxHeight) + " a side"});
    if (auto error = memoryError(memoryFor(format, header.width, header.height), Device::current().imageLimits))
        return std::unexpected(*error);
    return codec.writer(sink, header, options);
}

} // namespace platform
