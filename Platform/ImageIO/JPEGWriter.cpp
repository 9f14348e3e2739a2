#include "Platform/ImageIO/Exif.hpp"
#include "Platform/ImageIO/JPEG.hpp"
#include "Platform/ImageIO/JPEGErrors-inl.hpp"

#include <jerror.h>

#include <algorithm>

namespace platform::jpeg {

namespace {

class Writer final : public CGImageDestination {
public:
    Writer(ByteSink& sink, const ImageHeader& header) : sink_(sink), height_(header.height) {
        info_.err = &errors_;
        destination_.self = this;
        destination_.init_destination = [](j_compress_ptr info) { of(info).emptyBuffer(); };
        destination_.empty_output_buffer = [](j_compress_ptr info) {
            of(info).drain(of(info).buffer_.size());
            return TRUE;
        };
        destination_.term_destination = [](j_compress_ptr info) {
            of(info).drain(of(info).buffer_.size() - info->dest->free_in_buffer);
        };
    }
    ~Writer() override { jpeg_destroy_compress(&info_); }

    std::expected<void, ImageError> begin(const ImageHeader& header, const EncodeOptions& options) {
        const std::vector<std::byte> exif = exif::block(header);
        const auto profile = header.colorSpace.profile();
        return answer(errors_.guarded([&] {
            jpeg_create_compress(&info_);
            info_.dest = &destination_;
            info_.image_width = static_cast<JDIMENSION>(header.width);
            info_.image_height = static_cast<JDIMENSION>(header.height);
            info_.input_components = 4;
            info_.in_color_space = JCS_EXT_RGBX;
            jpeg_set_defaults(&info_);
            jpeg_set_quality(&info_, std::clamp(options.quality, 1, 100), TRUE);
            info_.comp_info[0].h_samp_factor = info_.comp_info[0].v_samp_factor = 1;
            jpeg_start_compress(&info_, TRUE);
            if (!exif.empty() && exif.size() < 65'533)
                jpeg_write_marker(&info_, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(exif.data()),
                                  static_cast<unsigned>(exif.size()));
            if (!profile.empty())
                jpeg_write_icc_profile(&info_, reinterpret_cast<const JOCTET*>(profile.data()),
                                       static_cast<unsigned>(profile.size()));
        }));
    }

    std::expected<void, ImageError> write(const std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        written_ += count;
        return answer(errors_.guarded([&] {
            for (; count > 0; --count, rows += stride) {
                auto* row = const_cast<JSAMPROW>(rows); // read only
                jpeg_write_scanlines(&info_, &row, 1);
            }
        }));
    }

    std::expected<void, ImageError> finish() override {
        if (written_ != height_)
            return std::unexpected(ImageError{ImageError::Code::writeFailed, "rows are missing"});
        return answer(errors_.guarded([&] { jpeg_finish_compress(&info_); }));
    }

private:
    struct Destination : jpeg_destination_mgr {
        Writer* self = nullptr;
    };

    static Writer& of(j_compress_ptr info) { return *static_cast<Destination*>(info->dest)->self; }

    void emptyBuffer() {
        destination_.next_output_byte = buffer_.data();
        destination_.free_in_buffer = buffer_.size();
    }

    void drain(std::size_t count) {
        const auto written = sink_.write(std::as_bytes(std::span(buffer_).first(count)));
        emptyBuffer();
        if (written)
            return;
        failure_ = written.error();
        ERREXIT(&info_, JERR_FILE_WRITE);
    }

    std::expected<void, ImageError> answer(bool succeeded) const {
        if (succeeded)
            return {};
        return std::unexpected(ImageError{ImageError::Code::writeFailed, failure_ ? failure_.message() : errors_.text});
    }

    ByteSink& sink_;
    const std::int64_t height_;
    std::int64_t written_ = 0;
    std::vector<JOCTET> buffer_ = std::vector<JOCTET>(std::size_t{1} << 16);
    std::error_code failure_;
    ErrorManager errors_;
    Destination destination_ = {};
    jpeg_compress_struct info_ = {};
};

} // namespace

std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options) {
    auto writer = std::make_unique<Writer>(sink, header);
    if (auto begun = writer->begin(header, options); !begun)
        return std::unexpected(begun.error());
    return writer;
}

} // namespace platform::jpeg
