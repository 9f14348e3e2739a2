#include "Platform/ImageIO/Exif.hpp"
#include "Platform/ImageIO/PNG.hpp"

#include <spng.h>

#include <cstring>

namespace platform::png {

namespace {

using Context = std::unique_ptr<spng_ctx, decltype([](spng_ctx* context) { spng_ctx_free(context); })>;

class Writer final : public CGImageDestination {
public:
    Writer(ByteSink& sink, const ImageHeader& header)
        : sink_(sink), header_(header), context_(spng_ctx_new(SPNG_CTX_ENCODER)), exif_(exif::block(header)),
          row_((header.opaque ? 3 : 4) * static_cast<std::size_t>(header.width)) {}

    std::expected<void, ImageError> begin() {
        if (!context_)
            return std::unexpected(ImageError{ImageError::Code::outOfMemory, {}});
        spng_ihdr ihdr = {};
        ihdr.width = static_cast<std::uint32_t>(header_.width);
        ihdr.height = static_cast<std::uint32_t>(header_.height);
        ihdr.bit_depth = 8;
        ihdr.color_type = header_.opaque ? SPNG_COLOR_TYPE_TRUECOLOR : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
        spng_set_png_stream(context_.get(), drain, this);
        int code = spng_set_ihdr(context_.get(), &ihdr);
        if (code == 0)
            code = setMetadata();
        if (code == 0)
            code = spng_encode_image(context_.get(), nullptr, 0, SPNG_FMT_PNG,
                                     SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE);
        return answer(code);
    }

    std::expected<void, ImageError> write(const std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (; count > 0; --count, ++written_, rows += stride) {
            pack(rows);
            const int code = spng_encode_row(context_.get(), row_.data(), row_.size());
            const bool isLast = written_ + 1 == header_.height;
            if (code != (isLast ? static_cast<int>(SPNG_EOI) : 0))
                return answer(code == 0 ? static_cast<int>(SPNG_EINTERNAL) : code);
        }
        return {};
    }

    std::expected<void, ImageError> finish() override {
        if (written_ != header_.height)
            return std::unexpected(ImageError{ImageError::Code::writeFailed, "rows are missing"});
        return {}; // the end was written with the last row
    }

private:
    static int drain(spng_ctx*, void* self, void* from, std::size_t length) {
        auto& writer = *static_cast<Writer*>(self);
        const auto written = writer.sink_.write({static_cast<const std::byte*>(from), length});
        if (!written)
            writer.error_ = written.error();
        return written ? 0 : static_cast<int>(SPNG_IO_ERROR);
    }

    int setMetadata() {
        int code = 0;
        if (const auto profile = header_.colorSpace.profile(); !profile.empty()) {
            spng_iccp iccp = {};
            std::strcpy(iccp.profile_name, "ICC profile");
            iccp.profile_len = profile.size();
            iccp.profile = reinterpret_cast<char*>(const_cast<std::byte*>(profile.data())); // copied, not changed
            code = spng_set_iccp(context_.get(), &iccp);
        }
        if (code == 0 && exif_.size() > sizeof exif::prefix) {
            spng_exif block = {};
            block.data = reinterpret_cast<char*>(exif_.data()) + sizeof exif::prefix;
            block.length = exif_.size() - sizeof exif::prefix;
            code = spng_set_exif(context_.get(), &block);
        }
        if (code == 0 && !header_.software.empty()) {
            spng_text text = {};
            std::strcpy(text.keyword, "Software");
            text.type = SPNG_TEXT;
            text.text = header_.software.data();
            text.length = header_.software.size();
            code = spng_set_text(context_.get(), &text, 1);
        }
        return code;
    }

    void pack(const std::uint8_t* pixels) {
        const auto width = static_cast<std::size_t>(header_.width);
        if (!header_.opaque) {
            unpremultiply(pixels, row_.data(), width);
            return;
        }
        for (std::size_t x = 0; x < width; ++x)
            std::memcpy(row_.data() + 3 * x, pixels + 4 * x, 3);
    }

    std::expected<void, ImageError> answer(int code) const {
        if (code == 0)
            return {};
        return std::unexpected(
            ImageError{ImageError::Code::writeFailed, error_ ? error_.message() : spng_strerror(code)});
    }

    ByteSink& sink_;
    ImageHeader header_;
    const Context context_;
    std::vector<std::byte> exif_;
    std::vector<std::uint8_t> row_;
    std::int64_t written_ = 0;
    std::error_code error_;
};

} // namespace

std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions&) {
    auto writer = std::make_unique<Writer>(sink, header);
    if (auto begun = writer->begin(); !begun)
        return std::unexpected(begun.error());
    return writer;
}

} // namespace platform::png
