#include "Platform/ImageIO/PNG.hpp"
#include "Platform/ImageIO/PNGChunks.hpp"
#include "Platform/ImageIO/PNGFilters.hpp"
#include "Platform/ImageIO/PNGRowLayout.hpp"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace platform::png {

namespace {

/// The chunks of a file, one after another. Answers no more than true or false: who wants to know why asks the general
/// reader.
class ChunkStream {
public:
    explicit ChunkStream(InputFile file) : stream_(std::move(file)) {}

    InputFile release() { return stream_.release(); }
    std::string_view type() const { return {reinterpret_cast<const char*>(header_.data()) + 4, 4}; }
    std::uint32_t left() const { return left_; } ///< bytes of data that were not read yet

    bool start() {
        std::array<std::byte, signature.size()> bytes = {};
        return stream_.read(bytes) && std::memcmp(bytes.data(), signature.data(), bytes.size()) == 0 && readHeader();
    }

    /// To the next chunk, after all data of this one was read, or none of it where it does not matter.
    bool next() { return endsWell() && readHeader(); }
    bool skip() {
        stream_.skip(std::int64_t{left_} + 4);
        return readHeader();
    }

    /// Data that follows in this chunk, as much as is at hand; none at the file's end.
    std::span<const std::byte> read() {
        const auto bytes = stream_.next(left_);
        crc_ = crcOf(bytes, crc_);
        left_ -= static_cast<std::uint32_t>(bytes.size());
        return bytes;
    }

    /// Reads data that fills `into` and is all of the chunk, and its CRC.
    bool readWhole(std::span<std::byte> into) {
        if (left_ != into.size() || !stream_.read(into))
            return false;
        crc_ = crcOf(into, crc_);
        left_ = 0;
        return endsWell();
    }

    /// Whether all data was read and has the CRC that follows it.
    bool endsWell() {
        std::array<std::byte, 4> crc = {};
        return left_ == 0 && stream_.read(crc) && numberAt(crc.data()) == crc_;
    }

    bool readHeader() {
        if (!stream_.read(header_))
            return false;
        left_ = numberAt(header_.data());
        crc_ = crcOf(std::span(header_).subspan(4));
        return left_ <= 0x7fffffff;
    }

private:
    InputStream stream_;
    std::array<std::byte, 8> header_ = {}; ///< length and type
    std::uint32_t left_ = 0;
    std::uint32_t crc_ = 0; ///< of the type and what was read
};

bool readPalette(ChunkStream& chunks, RowLayout& layout) {
    std::array<std::byte, std::size_t{3} * 256> bytes = {};
    const std::size_t size = chunks.left();
    if (size == 0 || size % 3 != 0 || size / 3 > std::size_t{1} << layout.bitDepth ||
        !chunks.readWhole(std::span(bytes).first(size)))
        return false;
    layout.entries = size / 3;
    for (std::size_t i = 0; i < layout.entries; ++i) {
        std::memcpy(layout.palette[i].data(), bytes.data() + 3 * i, 3);
        layout.palette[i][3] = 255;
    }
    return true;
}

bool readPaletteAlpha(ChunkStream& chunks, RowLayout& layout) {
    std::array<std::byte, 256> bytes = {};
    const std::size_t size = chunks.left();
    if (size == 0 || size > layout.entries || !chunks.readWhole(std::span(bytes).first(size)))
        return false;
    for (std::size_t i = 0; i < size; ++i)
        layout.palette[i][3] = static_cast<std::uint8_t>(bytes[i]);
    return true;
}

/// Reads up to the pixels' first chunk; none where the file is of another kind or odd. Metadata was read before, and
/// other chunks are passed over.
std::optional<RowLayout> readStart(ChunkStream& chunks, const ImageProperties& properties) {
    std::array<std::byte, 13> header = {};
    if (!chunks.start() || chunks.type() != "IHDR" || !chunks.readWhole(header) || !chunks.readHeader())
        return std::nullopt;
    const auto byteAt = [&](std::size_t at) { return static_cast<std::uint8_t>(header[at]); };
    RowLayout layout{.colorType = static_cast<ColorType>(byteAt(9)),
                     .bitDepth = byteAt(8),
                     .width = static_cast<std::size_t>(properties.width)};
    const bool hasPalette = layout.colorType == ColorType::palette;
    const bool depthIsUsual =
        layout.bitDepth == 8 || (hasPalette && std::has_single_bit(layout.bitDepth) && layout.bitDepth < 8);
    const bool typeIsKnown = (byteAt(9) & ~6) == 0 || hasPalette;
    const bool isPlain = byteAt(10) == 0 && byteAt(11) == 0 && byteAt(12) == 0; // compression, filters, interlacing
    if (!depthIsUsual || !typeIsKnown || !isPlain || numberAt(header.data()) != properties.width ||
        numberAt(header.data() + 4) != properties.height || layout.rowBytes() > 0x3fffffff)
        return std::nullopt;

    bool hasAlpha = false;
    while (chunks.type() != "IDAT") {
        const bool isCritical = (chunks.type()[0] & 0x20) == 0;
        bool sound = false;
        if (chunks.type() == "PLTE")
            sound = hasPalette && layout.entries == 0 && readPalette(chunks, layout) && chunks.readHeader();
        else if (chunks.type() == "tRNS")
            sound = !std::exchange(hasAlpha, true) && readPaletteAlpha(chunks, layout) && chunks.readHeader();
        else
            sound = !isCritical && chunks.skip();
        if (!sound)
            return std::nullopt;
    }
    const bool opaque =
        !hasAlpha && layout.colorType != ColorType::greyAlpha && layout.colorType != ColorType::colorAlpha;
    if (hasPalette != (layout.entries > 0) || opaque != properties.opaque)
        return std::nullopt;
    return layout;
}

class EverydayReader final : public RowReader {
public:
    EverydayReader(ChunkStream chunks, const RowLayout& layout, const ImageDescription& description,
                   const ImageLimits& limits)
        : description_(description), limits_(limits), layout_(layout), rowSize_(1 + layout.rowBytes()),
          chunks_(std::move(chunks)), left_(static_cast<std::size_t>(description.properties.height)),
          buffer_(rowSize_ * (1 + std::clamp<std::size_t>(bytesAtOnce / rowSize_, 1, left_)) + 1) {
        isal_inflate_init(&inflater_);
        inflater_.crc_flag = ISAL_ZLIB;
    }

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (; count > 0 && !general_; --count, rows += stride) {
            const std::uint8_t* row = nextRow();
            if (!row) {
                if (auto taken = handOver(); !taken)
                    return taken;
                break;
            }
            layout_.expand(row, rows);
            if (!description_.properties.opaque)
                premultiply(rows, layout_.width);
        }
        return count > 0 ? general_->read(rows, stride, count) : std::expected<void, ImageError>();
    }

    std::expected<void, ImageError> skip(std::int64_t count) override {
        for (; count > 0 && !general_; --count)
            if (!nextRow()) {
                if (auto taken = handOver(); !taken)
                    return taken;
                break;
            }
        return count > 0 ? general_->skip(count) : std::expected<void, ImageError>();
    }

private:
    // Fits the second cache beside the pixels; the inflater copies 32 KiB each time.
    static constexpr std::size_t bytesAtOnce = std::size_t{256} << 10;

    /// The values of the next row, valid until the next call; null where something is wrong.
    const std::uint8_t* nextRow() {
        if (filled_ - next_ < rowSize_ && !inflateRows())
            return nullptr;
        std::uint8_t* row = buffer_.data() + next_;
        if (row[0] >= rowFilterCount)
            return nullptr;
        unfilterRow(static_cast<RowFilter>(row[0]), row + 1, row + 1 - rowSize_, rowSize_ - 1, layout_.pixelBytes());
        if (!layout_.holds(row + 1) || (left_ == 1 && !endsWell()))
            return nullptr;
        next_ += rowSize_;
        --left_;
        return row + 1;
    }

    /// Moves the last row to the front, where it is the one above, and fills what is behind.
    bool inflateRows() {
        const std::size_t rest = filled_ - next_;
        std::memmove(buffer_.data(), buffer_.data() + next_ - rowSize_, rowSize_ + rest);
        next_ = rowSize_;
        const std::size_t end = std::min(buffer_.size() - 1, rowSize_ * (1 + left_));
        filled_ = end - inflate(buffer_.data() + rowSize_ + rest, end - rowSize_ - rest);
        return filled_ - next_ >= rowSize_;
    }

    /// Inflates `size` bytes and answers how many are missing where the stream or the file ends or is damaged.
    std::size_t inflate(std::uint8_t* into, std::size_t size) {
        inflater_.next_out = into;
        inflater_.avail_out = static_cast<std::uint32_t>(size);
        while (inflater_.avail_out > 0 && !ended_) {
            const std::uint32_t before = inflater_.avail_out;
            const int code = isal_inflate(&inflater_); // may have held bytes back, so it is asked before new ones come
            finished_ = code == ISAL_DECOMP_OK && inflater_.block_state == ISAL_BLOCK_FINISH;
            ended_ = finished_ || code < 0 || code == ISAL_NEED_DICT ||
                     (inflater_.avail_in == 0 && inflater_.avail_out == before && !nextInput());
        }
        return inflater_.avail_out;
    }

    bool nextInput() {
        while (chunks_.left() == 0)
            if (!chunks_.next() || chunks_.type() != "IDAT")
                return false;
        const auto bytes = chunks_.read();
        inflater_.next_in = reinterpret_cast<std::uint8_t*>(const_cast<std::byte*>(bytes.data())); // read only
        inflater_.avail_in = static_cast<std::uint32_t>(bytes.size());
        return !bytes.empty();
    }

    /// Whether the stream ends behind the last row, with the right checksum, and its chunk with it.
    bool endsWell() {
        std::uint8_t excess = 0;
        return inflate(&excess, 1) == 1 && finished_ && inflater_.avail_in == 0 && chunks_.endsWell();
    }

    std::expected<void, ImageError> handOver() {
        auto general = generalReader(chunks_.release(), description_, limits_);
        if (!general)
            return std::unexpected(general.error());
        general_ = std::move(*general);
        return general_->skip(description_.properties.height - static_cast<std::int64_t>(left_));
    }

    // Constant after construction.
    const ImageDescription description_;
    const ImageLimits limits_;
    const RowLayout layout_;
    const std::size_t rowSize_; ///< with the filter

    ChunkStream chunks_;
    inflate_state inflater_ = {};
    bool ended_ = false;    ///< nothing more is to be inflated
    bool finished_ = false; ///< the stream's end was reached and its checksum is right

    std::size_t left_;                   ///< rows
    std::vector<std::uint8_t> buffer_;   ///< the row above, then rows that follow, inflated; a byte that is only read
    std::size_t next_ = rowSize_;        ///< where in it the next row starts
    std::size_t filled_ = rowSize_;      ///< where in it the inflated bytes end
    std::unique_ptr<RowReader> general_; ///< has taken over
};

} // namespace

std::unique_ptr<RowReader> everydayReader(InputFile& file, const ImageDescription& description,
                                          const ImageLimits& limits) {
    ChunkStream chunks(std::move(file));
    if (const auto layout = readStart(chunks, description.properties))
        return std::make_unique<EverydayReader>(std::move(chunks), *layout, description, limits);
    file = chunks.release();
    return nullptr;
}

} // namespace platform::png
