#include "Platform/ImageIO/WebP.hpp"

#include "Platform/ImageIO/Exif.hpp"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform::webp {

namespace {

using Code = ImageError::Code;
using Demuxer = std::unique_ptr<WebPDemuxer, decltype([](WebPDemuxer* d) { WebPDemuxDelete(d); })>;
using Mux = std::unique_ptr<WebPMux, decltype([](WebPMux* m) { WebPMuxDelete(m); })>;

ImageError errorOf(VP8StatusCode status) {
    switch (status) {
    case VP8_STATUS_OUT_OF_MEMORY:
        return {Code::outOfMemory, {}};
    case VP8_STATUS_UNSUPPORTED_FEATURE:
        return {Code::unsupported, {}};
    case VP8_STATUS_SUSPENDED:
    case VP8_STATUS_NOT_ENOUGH_DATA:
        return {Code::truncated, {}};
    default:
        return {Code::damaged, {}};
    }
}

const std::uint8_t* bytesOf(const std::vector<std::byte>& content) {
    return reinterpret_cast<const std::uint8_t*>(content.data());
}

/// The whole file: more than its picture and its metadata could take is refused, by what its start says.
std::expected<std::vector<std::byte>, ImageError> content(const InputFile& file, const ImageLimits& limits) {
    std::vector<std::byte> start(static_cast<std::size_t>(std::min<std::int64_t>(file.size(), 1 << 16)));
    WebPBitstreamFeatures features = {};
    if (const auto read = file.read(0, start); !read)
        return std::unexpected(read.error());
    if (const auto status = WebPGetFeatures(bytesOf(start), start.size(), &features); status != VP8_STATUS_OK)
        return std::unexpected(errorOf(status));
    if (auto error = sizeError(features.width, features.height, limits))
        return std::unexpected(*error);
    if (file.size() > std::int64_t{features.width} * features.height * 4 + 2 * limits.maxChunkBytes)
        return std::unexpected(ImageError{Code::overloaded, std::to_string(file.size()) + " bytes"});
    if (auto error = memoryError(file.size(), limits))
        return std::unexpected(*error);
    return file.readAll();
}

std::vector<std::byte> chunk(const WebPDemuxer* demuxer, const char* name, std::int64_t maxBytes) {
    WebPChunkIterator found;
    std::vector<std::byte> bytes;
    if (WebPDemuxGetChunk(demuxer, name, 1, &found) && static_cast<std::int64_t>(found.chunk.size) <= maxBytes) {
        const auto* first = reinterpret_cast<const std::byte*>(found.chunk.bytes);
        bytes.assign(first, first + found.chunk.size);
    }
    WebPDemuxReleaseChunkIterator(&found);
    return bytes;
}

} // namespace

std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits) {
    const auto bytes = content(file, limits);
    if (!bytes)
        return std::unexpected(bytes.error());
    WebPBitstreamFeatures features = {};
    if (const auto status = WebPGetFeatures(bytesOf(*bytes), bytes->size(), &features); status != VP8_STATUS_OK)
        return std::unexpected(errorOf(status));
    if (features.has_animation)
        return std::unexpected(ImageError{Code::unsupported, "an animation"});

    ImageDescription description;
    description.properties.width = features.width;
    description.properties.height = features.height;
    description.properties.opaque = !features.has_alpha;
    constexpr int lossless = 2;
    const int bytesPerPixel = features.format == lossless ? 8 : features.has_alpha ? 5 : 4;
    description.memory = file.size() + bytesPerPixel * std::int64_t{features.width} * features.height;
    const WebPData data{bytesOf(*bytes), bytes->size()};
    if (const Demuxer demuxer(WebPDemux(&data)); demuxer) {
        description.colorSpace = colorSpaceOf(chunk(demuxer.get(), "ICCP", limits.maxChunkBytes));
        if (const auto block = chunk(demuxer.get(), "EXIF", limits.maxChunkBytes); !block.empty())
            exif::read(block, description.properties);
    }
    return description;
}

std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription& description,
                                                             const ImageLimits& limits) {
    const auto bytes = content(file, limits);
    if (!bytes)
        return std::unexpected(bytes.error());
    const ImageProperties& properties = description.properties;
    Bitmap pixels(properties.width, properties.height);

    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config))
        return std::unexpected(ImageError{Code::unsupported, "another libwebp than this was built for"});
    config.output.colorspace = properties.opaque ? MODE_RGBA : MODE_rgbA; // the latter is premultiplied
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = pixels.row(0);
    config.output.u.RGBA.stride = static_cast<int>(pixels.stride());
    config.output.u.RGBA.size = pixels.bytes().size();
    if (const auto status = WebPDecode(bytesOf(*bytes), bytes->size(), &config); status != VP8_STATUS_OK)
        return std::unexpected(errorOf(status));
    if (properties.opaque) // by the header; a lossless stream may hold other values all the same
        for (std::size_t i = 3; i < pixels.bytes().size(); i += 4)
            pixels.bytes()[i] = 255;
    return readerOfWhole(std::move(pixels), properties.opaque);
}

namespace {

class Writer final : public CGImageDestination {
public:
    Writer(ByteSink& sink, const ImageHeader& header, EncodeOptions options)
        : sink_(sink), header_(header), options_(std::move(options)), pixels_(header.width, header.height) {}

    std::expected<void, ImageError> write(const std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        const auto width = static_cast<std::size_t>(header_.width);
        for (; count > 0; --count, ++written_, rows += stride) {
            if (header_.opaque)
                std::memcpy(pixels_.row(written_), rows, pixels_.stride());
            else
                unpremultiply(rows, pixels_.row(written_), width);
        }
        return {};
    }

    std::expected<void, ImageError> finish() override {
        if (written_ != header_.height)
            return std::unexpected(ImageError{Code::writeFailed, "rows are missing"});
        auto encoded = encode();
        if (!encoded)
            return std::unexpected(encoded.error());
        const Mux mux(WebPMuxNew());
        const auto set = [&](const char* name, std::span<const std::byte> bytes) {
            const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
            return bytes.empty() || WebPMuxSetChunk(mux.get(), name, &data, 1) == WEBP_MUX_OK;
        };
        const auto exif = exif::block(header_);
        const WebPData image{encoded->get()->mem, encoded->get()->size};
        WebPData file = {};
        const bool assembled = mux && WebPMuxSetImage(mux.get(), &image, 0) == WEBP_MUX_OK &&
                               set("ICCP", header_.colorSpace.profile()) &&
                               set("EXIF", std::span(exif).subspan(std::min(exif.size(), sizeof exif::prefix))) &&
                               WebPMuxAssemble(mux.get(), &file) == WEBP_MUX_OK;
        const std::unique_ptr<WebPData, decltype([](WebPData* d) { WebPDataClear(d); })> owner(&file);
        if (!assembled)
            return std::unexpected(ImageError{Code::writeFailed, "the parts of the file could not be put together"});
        if (auto written = sink_.write(std::as_bytes(std::span(file.bytes, file.size))); !written)
            return std::unexpected(ImageError{Code::writeFailed, written.error().message()});
        return {};
    }

private:
    struct Memory : WebPMemoryWriter {
        Memory() { WebPMemoryWriterInit(this); }
        ~Memory() { WebPMemoryWriterClear(this); }
        Memory(const Memory&) = delete;
        Memory& operator=(const Memory&) = delete;
    };

    std::expected<std::unique_ptr<Memory>, ImageError> encode() const {
        WebPConfig config;
        WebPPicture picture;
        const bool lossless = options_.quality >= 100;
        if (!WebPConfigInit(&config) || !WebPPictureInit(&picture) ||
            (lossless && !WebPConfigLosslessPreset(&config, 4)))
            return std::unexpected(ImageError{Code::writeFailed, "another libwebp than this was built for"});
        const std::unique_ptr<WebPPicture, decltype([](WebPPicture* p) { WebPPictureFree(p); })> owner(&picture);
        auto memory = std::make_unique<Memory>();
        if (!lossless)
            config.quality = static_cast<float>(std::clamp(options_.quality, 1, 99));
        config.thread_level = 1;
        config.exact = 1;
        picture.use_argb = lossless;
        picture.width = static_cast<int>(header_.width);
        picture.height = static_cast<int>(header_.height);
        picture.writer = WebPMemoryWrite;
        picture.custom_ptr = memory.get();
        const auto import = header_.opaque ? WebPPictureImportRGBX : WebPPictureImportRGBA;
        if (!import(&picture, pixels_.row(0), static_cast<int>(pixels_.stride())) || !WebPEncode(&config, &picture))
            return std::unexpected(
                picture.error_code == VP8_ENC_ERROR_OUT_OF_MEMORY
                    ? ImageError{Code::outOfMemory, {}}
                    : ImageError{Code::writeFailed, "libwebp's error " + std::to_string(picture.error_code)});
        return memory;
    }

    ByteSink& sink_;
    const ImageHeader header_;
    const EncodeOptions options_;
    Bitmap pixels_;
    std::int64_t written_ = 0;
};

} // namespace

std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options) {
    return std::make_unique<Writer>(sink, header, options);
}

} // namespace platform::webp

namespace platform {

const ImageCodec webpCodec{webp::inspect, webp::reader, webp::writer, WEBP_MAX_DIMENSION, 12};

} // namespace platform
