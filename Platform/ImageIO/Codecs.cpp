#include "Platform/ImageIO/Codecs.hpp"

namespace platform {

namespace codecs {

const char* nameOf(ImageFormat format) {
    switch (format) {
    case ImageFormat::avif:
        return "avif";
    case ImageFormat::jxl:
        return "jxl";
    case ImageFormat::pdf:
        return "pdf";
    default:
        return "heif";
    }
}

namespace {

template <ImageFormat format>
constexpr ImageCodec codec(std::int64_t maxHeight, int bytesPerPixelWritten) {
    return {[](InputFile file, const ImageLimits& limits) { return inspect(format, std::move(file), limits); },
            [](InputFile file, const ImageDescription& description, const ImageLimits& limits) {
                return reader(format, std::move(file), description, limits);
            },
            [](ByteSink& sink, const ImageHeader& header, const EncodeOptions& options) {
                return writer(format, sink, header, options);
            },
            maxHeight, bytesPerPixelWritten};
}

} // namespace

} // namespace codecs

const ImageCodec heifCodec = codecs::codec<ImageFormat::heif>(0, 0); // not written
const ImageCodec avifCodec = codecs::codec<ImageFormat::avif>(32'768, 36);
const ImageCodec jxlCodec = codecs::codec<ImageFormat::jxl>(1 << 30, 70);
const ImageCodec pdfCodec = codecs::codec<ImageFormat::pdf>(1 << 30, 4);

} // namespace platform
