#include "Platform/ImageIO/Exif.hpp"
#include "Platform/ImageIO/ImageCodec.hpp"
#include "Platform/ImageIO/PNG.hpp"

#include <spng.h>

#include <algorithm>
#include <cstring>

namespace platform::png {

namespace {

using Context = std::unique_ptr<spng_ctx, decltype([](spng_ctx* context) { spng_ctx_free(context); })>;

/// A decoder on a file that has been opened. Stays where it is: the codec keeps its address.
class Decoder {
public:
    Decoder(InputFile file, const ImageLimits& limits) : stream_(std::move(file)), context_(spng_ctx_new(0)) {
        if (!context_)
            return;
        constexpr std::uint32_t mostPerSide = 0x7fffffff; // PNG's own limit; ours is on the product
        spng_set_image_limits(context_.get(), mostPerSide, mostPerSide);
        const auto chunk = static_cast<std::size_t>(limits.maxChunkBytes);
        spng_set_chunk_limits(context_.get(), chunk, 2 * chunk);
        spng_set_crc_action(context_.get(), SPNG_CRC_ERROR, SPNG_CRC_DISCARD);
        spng_set_png_stream(context_.get(), feed, this);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    spng_ctx* get() const { return context_.get(); }

    ImageError error(int code) const {
        if (!context_)
            return {ImageError::Code::outOfMemory, {}};
        if (stream_.error())
            return *stream_.error();
        if (code == SPNG_EMEM)
            return {ImageError::Code::outOfMemory, {}};
        if (code == SPNG_ECHUNK_LIMITS)
            return {ImageError::Code::overloaded, "its metadata"};
        const bool endsEarly = code == SPNG_IO_EOF || code == SPNG_EIDAT_TOO_SHORT;
        return {endsEarly ? ImageError::Code::truncated : ImageError::Code::damaged, spng_strerror(code)};
    }

private:
    static int feed(spng_ctx*, void* self, void* into, std::size_t length) {
        auto& stream = static_cast<Decoder*>(self)->stream_;
        if (stream.read({static_cast<std::byte*>(into), length}))
            return 0;
        return stream.error() ? SPNG_IO_ERROR : SPNG_IO_EOF;
    }

    InputStream stream_;
    Context context_;
};

CGColorSpace colorSpace(spng_ctx* context, std::uint8_t colorType) {
    spng_iccp profile = {};
    const bool isColor = colorType != SPNG_COLOR_TYPE_GRAYSCALE && colorType != SPNG_COLOR_TYPE_GRAYSCALE_ALPHA;
    if (!isColor || spng_get_iccp(context, &profile) != 0)
        return CGColorSpace::sRGB();
    const auto* bytes = reinterpret_cast<const std::byte*>(profile.profile);
    return colorSpaceOf({bytes, bytes + profile.profile_len});
}

void readMetadata(spng_ctx* context, ImageProperties& properties) {
    spng_exif block = {};
    if (spng_get_exif(context, &block) == 0)
        exif::read({reinterpret_cast<const std::byte*>(block.data), block.length}, properties);

    std::uint32_t count = 0;
    if (!properties.software.empty() || spng_get_text(context, nullptr, &count) != 0)
        return;
    std::vector<spng_text> texts(count);
    if (spng_get_text(context, texts.data(), &count) != 0)
        return;
    for (const spng_text& text : texts)
        if (std::strcmp(text.keyword, "Software") == 0)
            properties.software.assign(text.text, text.length);
}

class Reader final : public RowReader {
public:
    Reader(std::unique_ptr<Decoder> decoder, std::int64_t width, std::int64_t height, bool opaque)
        : decoder_(std::move(decoder)), width_(static_cast<std::size_t>(width)), left_(height), opaque_(opaque) {}

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (; count > 0; --count, rows += stride)
            if (auto row = readRow(rows); !row)
                return row;
        return {};
    }

    std::expected<void, ImageError> skip(std::int64_t count) override {
        std::vector<std::uint8_t> row(4 * width_);
        for (; count > 0; --count)
            if (auto skipped = readRow(row.data()); !skipped)
                return skipped;
        return {};
    }

private:
    std::expected<void, ImageError> readRow(std::uint8_t* row) {
        const int code = spng_decode_row(decoder_->get(), row, 4 * width_);
        const bool isLast = --left_ == 0;
        if (code != (isLast ? static_cast<int>(SPNG_EOI) : 0))
            return std::unexpected(decoder_->error(code));
        if (!opaque_)
            premultiply(row, width_);
        return {};
    }

    const std::unique_ptr<Decoder> decoder_;
    const std::size_t width_;
    std::int64_t left_;
    const bool opaque_;
};

} // namespace

std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits) {
    const Decoder decoder(std::move(file), limits);
    spng_ihdr header = {};
    if (const int code = spng_get_ihdr(decoder.get(), &header); code != 0)
        return std::unexpected(decoder.error(code));

    ImageDescription description;
    description.properties.width = header.width;
    description.properties.height = header.height;
    if (auto error = sizeError(header.width, header.height, limits))
        return std::unexpected(*error);

    if (header.interlace_method != SPNG_INTERLACE_NONE)
        description.memory = 4 * std::int64_t{header.width} * header.height;
    spng_trns transparency = {};
    const bool hasAlpha = (header.color_type & 4) != 0; // PNG: bit 2 of the colour type
    const int transparent = spng_get_trns(decoder.get(), &transparency);
    if (transparent != 0 && transparent != SPNG_ECHUNKAVAIL)
        return std::unexpected(decoder.error(transparent));
    description.properties.opaque = !hasAlpha && transparent == SPNG_ECHUNKAVAIL;
    description.colorSpace = colorSpace(decoder.get(), header.color_type);
    readMetadata(decoder.get(), description.properties);
    return description;
}

std::expected<std::unique_ptr<RowReader>, ImageError> generalReader(InputFile file, const ImageDescription& description,
                                                                    const ImageLimits& limits) {
    const auto& [format, width, height, opaque, orientation, date, software, fromCamera] = description.properties;
    auto decoder = std::make_unique<Decoder>(std::move(file), limits);
    spng_ihdr header = {};
    if (const int code = spng_get_ihdr(decoder->get(), &header); code != 0)
        return std::unexpected(decoder->error(code));

    if (header.interlace_method == SPNG_INTERLACE_NONE) {
        const int code =
            spng_decode_image(decoder->get(), nullptr, 0, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE);
        if (code != 0)
            return std::unexpected(decoder->error(code));
        return std::make_unique<Reader>(std::move(decoder), width, height, opaque);
    }

    Bitmap pixels(width, height);
    const auto bytes = pixels.bytes();
    if (const int code =
            spng_decode_image(decoder->get(), bytes.data(), bytes.size(), SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
        code != 0)
        return std::unexpected(decoder->error(code));
    if (!opaque)
        premultiply(bytes.data(), bytes.size() / 4);
    return readerOfWhole(std::move(pixels), opaque);
}

std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription& description,
                                                             const ImageLimits& limits) {
    if (auto everyday = everydayReader(file, description, limits))
        return everyday;
    return generalReader(std::move(file), description, limits);
}

} // namespace platform::png

namespace platform {

const ImageCodec pngCodec{png::inspect, png::reader, png::writer, 0x7fffffff};

} // namespace platform
