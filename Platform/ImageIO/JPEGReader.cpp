#include "Platform/ImageIO/Exif.hpp"
#include "Platform/ImageIO/JPEG.hpp"
#include "Platform/ImageIO/JPEGErrors-inl.hpp"

#include <jerror.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace platform::jpeg {

namespace {

/// A decoder on a file that has been opened. Stays where it is: the codec keeps addresses of its parts.
class Decoder {
public:
    Decoder(InputFile file, const ImageLimits& limits)
        : stream_(std::move(file)), maxScans_(limits.maxJpegScans), headerBytesLeft_(limits.maxChunkBytes) {
        info_.err = &errors_;
        source_.self = this;
        source_.init_source = [](j_decompress_ptr) {};
        source_.fill_input_buffer = fill;
        source_.skip_input_data = skip;
        source_.resync_to_restart = jpeg_resync_to_restart;
        source_.term_source = [](j_decompress_ptr) {};
        progress_.progress_monitor = limitScans;
        created_ = errors_.guarded([&] {
            jpeg_create_decompress(&info_);
            info_.client_data = this;
            info_.src = &source_;
            info_.progress = &progress_;
            jpeg_save_markers(&info_, JPEG_APP0 + 1, 0xffff); // Exif
            jpeg_save_markers(&info_, JPEG_APP0 + 2, 0xffff); // ICC profiles
        });
    }
    ~Decoder() { jpeg_destroy_decompress(&info_); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    template <class Calls>
    [[nodiscard]] bool run(Calls calls) {
        return created_ && errors_.guarded(calls);
    }

    jpeg_decompress_struct& info() { return info_; }

    /// Keeps the metadata that stand before the first scan.
    bool readHeader() {
        return run([&] {
            jpeg_read_header(&info_, TRUE);
            jpeg_save_markers(&info_, JPEG_APP0 + 1, 0);
            jpeg_save_markers(&info_, JPEG_APP0 + 2, 0);
            headerIsRead_ = true;
        });
    }

    /// Of a file in several scans, all of whose coefficients are held until the last one is read.
    std::int64_t coefficientBytes() {
        if (!jpeg_has_multiple_scans(&info_))
            return 0;
        std::int64_t blocks = 0;
        for (int i = 0; i < info_.num_components; ++i)
            blocks += std::int64_t{info_.comp_info[i].width_in_blocks} * info_.comp_info[i].height_in_blocks;
        return blocks * static_cast<std::int64_t>(DCTSIZE2 * sizeof(JCOEF));
    }

    ImageError error() const {
        if (stream_.error())
            return *stream_.error();
        if (errors_.code == JERR_OUT_OF_MEMORY)
            return {ImageError::Code::outOfMemory, {}};
        if (headerBytesLeft_ < 0)
            return {ImageError::Code::overloaded, "its metadata"};
        if (tooManyScans_)
            return {ImageError::Code::overloaded, "more than " + std::to_string(maxScans_) + " scans"};
        const bool endsEarly = errors_.code == JWRN_JPEG_EOF || errors_.code == JERR_INPUT_EOF || atEnd_;
        return {endsEarly ? ImageError::Code::truncated : ImageError::Code::damaged, errors_.text};
    }

    /// Nothing where there is no profile or a damaged one.
    std::vector<std::byte> profile() {
        JOCTET* bytes = nullptr;
        unsigned size = 0;
        errors_.warningsAreErrors = false; // metadata never fails a picture
        const bool found = run([&] { jpeg_read_icc_profile(&info_, &bytes, &size); }) && bytes;
        errors_.warningsAreErrors = true;
        const std::unique_ptr<JOCTET, decltype([](JOCTET* b) { std::free(b); })> owner(bytes);
        const auto* first = reinterpret_cast<const std::byte*>(bytes);
        return found ? std::vector<std::byte>(first, first + size) : std::vector<std::byte>();
    }

private:
    struct Source : jpeg_source_mgr {
        Decoder* self = nullptr;
    };

    static Decoder& of(j_decompress_ptr info) { return *static_cast<Source*>(info->src)->self; }

    static boolean fill(j_decompress_ptr info) {
        Decoder& self = of(info);
        const auto bytes = self.stream_.next();
        if (bytes.empty()) {
            self.atEnd_ = true;
            ERREXIT(info, JERR_INPUT_EOF);
        }
        if (!self.headerIsRead_)
            self.headerBytesLeft_ -= static_cast<std::int64_t>(bytes.size());
        if (self.headerBytesLeft_ < 0)
            ERREXIT(info, JERR_BAD_LENGTH);
        self.source_.next_input_byte = reinterpret_cast<const JOCTET*>(bytes.data());
        self.source_.bytes_in_buffer = bytes.size();
        return TRUE;
    }

    static void skip(j_decompress_ptr info, long count) {
        Decoder& self = of(info);
        const auto atHand = static_cast<long>(self.source_.bytes_in_buffer);
        if (count <= 0)
            return;
        if (count <= atHand) {
            self.source_.next_input_byte += count;
            self.source_.bytes_in_buffer -= static_cast<std::size_t>(count);
            return;
        }
        self.source_.bytes_in_buffer = 0;
        self.stream_.skip(count - atHand);
    }

    /// Each scan passes over all pixels, though it may take next to no bytes: a large image may have fewer of them.
    static void limitScans(j_common_ptr common) {
        constexpr std::int64_t mostPixelsPassed = 6'000'000'000; // a second or two; 30 scans of 200 megapixels
        const auto info = reinterpret_cast<j_decompress_ptr>(common);
        Decoder& self = of(info);
        const std::int64_t pixels = std::int64_t{info->image_width} * info->image_height;
        self.maxScans_ = static_cast<int>(std::min<std::int64_t>(self.maxScans_, mostPixelsPassed / pixels));
        if (info->input_scan_number <= self.maxScans_)
            return;
        self.tooManyScans_ = true;
        ERREXIT(info, JERR_BAD_PROGRESSION);
    }

    InputStream stream_;
    int maxScans_;
    std::int64_t headerBytesLeft_; ///< that may be read before the first scan; below 0 there are too many
    bool headerIsRead_ = false;
    bool tooManyScans_ = false;
    bool atEnd_ = false;
    bool created_ = false;
    ErrorManager errors_;
    Source source_ = {};
    jpeg_progress_mgr progress_ = {};
    jpeg_decompress_struct info_ = {};
};

class Reader final : public RowReader {
public:
    explicit Reader(std::unique_ptr<Decoder> decoder) : decoder_(std::move(decoder)) {}

    std::expected<void, ImageError> begin(int divisor) {
        auto& info = decoder_->info();
        const bool begun = decoder_->run([&] {
            const bool isCMYK = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
            info.out_color_space = isCMYK ? JCS_CMYK : JCS_EXT_RGBA;
            info.scale_num = 1;
            info.scale_denom = static_cast<unsigned>(divisor);
            jpeg_start_decompress(&info);
        });
        return answer(begun);
    }

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        auto& info = decoder_->info();
        return answer(decoder_->run([&] {
            for (; count > 0; --count, rows += stride) {
                JSAMPROW row = rows;
                jpeg_read_scanlines(&info, &row, 1);
                if (info.out_color_space == JCS_CMYK)
                    convertFromCMYK(rows);
            }
            if (info.output_scanline == info.output_height)
                jpeg_finish_decompress(&info); // reads on to the end of the image: a file cut off there is an error
        }));
    }

    std::expected<void, ImageError> skip(std::int64_t count) override {
        std::vector<std::uint8_t> row(4 * std::size_t{decoder_->info().output_width});
        return read(row.data(), 0, count);
    }

private:
    std::expected<void, ImageError> answer(bool succeeded) const {
        return succeeded ? std::expected<void, ImageError>() : std::unexpected(decoder_->error());
    }

    void convertFromCMYK(std::uint8_t* pixels) const {
        const auto& info = decoder_->info();
        const unsigned inverted = info.saw_Adobe_marker ? 0 : 255; // Adobe's programs write inverted values
        for (JDIMENSION x = 0; x < info.output_width; ++x, pixels += 4) {
            const unsigned black = pixels[3] ^ inverted;
            for (int channel = 0; channel < 3; ++channel)
                pixels[channel] = static_cast<std::uint8_t>(((pixels[channel] ^ inverted) * black + 127) / 255);
            pixels[3] = 255;
        }
    }

    const std::unique_ptr<Decoder> decoder_;
};

} // namespace

std::expected<ImageDescription, ImageError> inspect(InputFile file, const ImageLimits& limits) {
    Decoder decoder(std::move(file), limits);
    if (!decoder.readHeader())
        return std::unexpected(decoder.error());
    const auto& info = decoder.info();
    ImageDescription description;
    description.properties.width = info.image_width;
    description.properties.height = info.image_height;
    description.properties.opaque = true;
    description.memory = decoder.coefficientBytes();
    if (info.num_components != 1) // a profile for grey or CMYK values says nothing of the RGB that they become
        description.colorSpace = colorSpaceOf(decoder.profile());
    for (auto marker = info.marker_list; marker; marker = marker->next)
        if (marker->marker == JPEG_APP0 + 1 && marker->data_length > sizeof exif::prefix &&
            std::memcmp(marker->data, exif::prefix, sizeof exif::prefix) == 0) {
            exif::read({reinterpret_cast<const std::byte*>(marker->data), marker->data_length}, description.properties);
            break;
        }
    return description;
}

std::expected<std::unique_ptr<RowReader>, ImageError> reader(InputFile file, const ImageDescription&,
                                                             const ImageLimits& limits) {
    return reducedReader(std::move(file), 1, limits);
}

std::expected<std::unique_ptr<RowReader>, ImageError> reducedReader(InputFile file, int divisor,
                                                                    const ImageLimits& limits) {
    auto decoder = std::make_unique<Decoder>(std::move(file), limits);
    if (!decoder->readHeader())
        return std::unexpected(decoder->error());
    auto reader = std::make_unique<Reader>(std::move(decoder));
    if (auto begun = reader->begin(divisor); !begun)
        return std::unexpected(begun.error());
    return reader;
}

} // namespace platform::jpeg

namespace platform {

const ImageCodec jpegCodec{.inspect = jpeg::inspect,
                           .reader = jpeg::reader,
                           .writer = jpeg::writer,
                           .maxHeight = 65'500,
                           .reducedReader = jpeg::reducedReader};

} // namespace platform
