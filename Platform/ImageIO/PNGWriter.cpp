#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/ImageIO/Exif.hpp"
#include "Platform/ImageIO/PNG.hpp"
#include "Platform/ImageIO/PNGBand.hpp"
#include "Platform/ImageIO/PNGChunks.hpp"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace platform::png {

namespace {

using Done = std::expected<void, ImageError>;

std::span<const std::byte> bytesIn(std::string_view text) {
    return std::as_bytes(std::span(text));
}

/// Chunks on their way to the file.
class ChunkBuffer {
public:
    void add(std::span<const std::byte> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

    void addChunk(std::string_view type, std::initializer_list<std::span<const std::byte>> parts) {
        std::size_t size = 0;
        for (const auto& part : parts)
            size += part.size();
        add(bytesOf(static_cast<std::uint32_t>(size)));
        const std::size_t start = bytes_.size();
        add(bytesIn(type));
        for (const auto& part : parts)
            add(part);
        add(bytesOf(crcOf(std::span(bytes_).subspan(start))));
    }

    Done writeTo(ByteSink& sink) {
        const auto written = sink.write(bytes_);
        bytes_.clear();
        if (!written)
            return std::unexpected(ImageError{ImageError::Code::writeFailed, written.error().message()});
        return {};
    }

private:
    std::vector<std::byte> bytes_;
};

/// The rows of one band, behind the row above them.
struct Slot {
    std::vector<std::uint8_t> pixels; ///< the row above, zeros at first, and the rows gathered
    std::size_t rows = 0;
    bool isLast = false;
    Band band;
    bool isSound = true;
    DispatchQueue queue = DispatchQueue::serial("png"); ///< makes the band; meanwhile the rest is left alone
};

/// Rows are gathered for one band while those before it are made, several side by side. The bands' height depends on
/// the picture's width alone, so that the same picture gives the same bytes everywhere.
class Writer final : public CGImageDestination {
public:
    Writer(ByteSink& sink, const ImageHeader& header, EncodeEffort effort)
        : sink_(sink), header_(header), effort_(effort), rowBytes_(4 * static_cast<std::size_t>(header.width)),
          bandRows_(std::max<std::size_t>(1, bandBytes / storedRowBytes(header))), left_(header.height) {
        const auto height = static_cast<std::size_t>(header.height);
        const std::size_t most = std::max<std::size_t>(1, bytesAtOnce / (bandRows_ * storedRowBytes(header)));
        const std::size_t bands = (height + bandRows_ - 1) / bandRows_;
        slots_ = std::vector<Slot>(std::min(bands, 2 * std::min(most, ThreadPool::shared().limit())));
        for (Slot& slot : slots_)
            slot.pixels.resize(rowBytes_ * (1 + std::min(height, bandRows_)));
    }

    ~Writer() override {
        for (const Slot& slot : slots_)
            slot.queue.sync([] {});
    }

    static std::size_t storedRowBytes(const ImageHeader& header) {
        return 1 + static_cast<std::size_t>(header.width) * (header.opaque ? 3 : 4);
    }

    Done begin() {
        chunks_.add(bytesIn(signature));
        const auto colorType = header_.opaque ? ColorType::color : ColorType::colorAlpha;
        const std::byte kind[] = {std::byte{8}, static_cast<std::byte>(colorType), {}, {}, {}};
        chunks_.addChunk("IHDR", {bytesOf(static_cast<std::uint32_t>(header_.width)),
                                  bytesOf(static_cast<std::uint32_t>(header_.height)), kind});
        if (const auto profile = header_.colorSpace.profile(); !profile.empty())
            chunks_.addChunk("iCCP", {bytesIn(std::string_view("ICC profile\0\0", 13)), zlibStream(profile)});
        if (const auto block = exif::block(header_); block.size() > sizeof exif::prefix)
            chunks_.addChunk("eXIf", {std::span(block).subspan(sizeof exif::prefix)});
        if (!header_.software.empty())
            chunks_.addChunk("tEXt", {bytesIn(std::string_view("Software\0", 9)), bytesIn(header_.software)});
        return chunks_.writeTo(sink_);
    }

    Done write(const std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (; count > 0; --count, rows += stride) {
            if (left_ == 0)
                return std::unexpected(ImageError{ImageError::Code::writeFailed, "too many rows"});
            Slot& slot = slots_[gathering_];
            std::memcpy(slot.pixels.data() + ++slot.rows * rowBytes_, rows, rowBytes_);
            slot.isLast = --left_ == 0;
            if (slot.isLast || slot.rows == bandRows_)
                if (auto handed = handOn(slot); !handed)
                    return handed;
        }
        return {};
    }

    Done finish() override {
        if (left_ > 0)
            return std::unexpected(ImageError{ImageError::Code::writeFailed, "rows are missing"});
        for (std::size_t i = 0; i < slots_.size(); ++i)
            if (auto written = writeMade(slots_[(gathering_ + i) % slots_.size()]); !written)
                return written;
        return {};
    }

private:
    // Fits the second cache with all that is made of it: 128 rows of a telephone's screenshot.
    static constexpr std::size_t bandBytes = 448 << 10;
    // Rows in half of the slots, at most. Making a band takes six times as much again.
    static constexpr std::size_t bytesAtOnce = 8 * bandBytes;

    /// The rows gathered become a band, and gathering goes on in the slot whose band was begun first.
    Done handOn(Slot& slot) {
        slot.queue.async([this, &slot] {
            slot.isSound = slot.band.make(slot.pixels.data(), slot.rows, static_cast<std::size_t>(header_.width),
                                          header_.opaque, slot.isLast, effort_);
        });
        gathering_ = (gathering_ + 1) % slots_.size();
        if (slot.isLast)
            return {};
        Slot& next = slots_[gathering_];
        if (auto written = writeMade(next); !written)
            return written;
        std::memcpy(next.pixels.data(), slot.pixels.data() + slot.rows * rowBytes_, rowBytes_);
        return {};
    }

    /// Waits for a band that is being made, if it is, and writes it.
    Done writeMade(Slot& slot) {
        if (slot.rows == 0)
            return {};
        slot.queue.sync([] {});
        slot.rows = 0;
        if (!slot.isSound)
            return std::unexpected(ImageError{ImageError::Code::writeFailed, "the rows could not be compressed"});
        const Band& band = slot.band;
        checksum_ = joinedChecksum(checksum_, band.checksum(), band.inflatedSize());
        const bool isFirst = !std::exchange(begun_, true);
        const auto end = bytesOf(checksum_);
        chunks_.addChunk("IDAT", {bytesIn(isFirst ? "x^" : ""), // 0x78, 0x5e: deflate, window of 32 KiB, fast
                                  band.deflated(), std::span(end).first(slot.isLast ? end.size() : 0)});
        if (slot.isLast)
            chunks_.addChunk("IEND", {});
        return chunks_.writeTo(sink_);
    }

    // Constant after construction.
    ByteSink& sink_;
    const ImageHeader header_;
    const EncodeEffort effort_;
    const std::size_t rowBytes_; ///< in memory
    const std::size_t bandRows_;

    std::vector<Slot> slots_; ///< a ring; two for each thread
    std::size_t gathering_ = 0;
    std::int64_t left_;          ///< rows
    std::uint32_t checksum_ = 1; ///< of all rows so far, as stored
    bool begun_ = false;         ///< the stream was
    ChunkBuffer chunks_;
};

} // namespace

std::expected<std::unique_ptr<CGImageDestination>, ImageError> writer(ByteSink& sink, const ImageHeader& header,
                                                                      const EncodeOptions& options) {
    if (header.width <= 0 || header.height <= 0)
        return std::unexpected(ImageError{ImageError::Code::writeFailed, "no pixels"});
    if (constexpr std::int64_t widest = 1 << 28; header.width > widest) // lengths of chunks have 31 bits
        return std::unexpected(ImageError{ImageError::Code::tooLarge, std::to_string(header.width) +
                                                                          " pixels wide, at most " +
                                                                          std::to_string(widest) + " are written"});
    auto writer = std::make_unique<Writer>(sink, header, options.effort);
    if (auto begun = writer->begin(); !begun)
        return std::unexpected(begun.error());
    return writer;
}

} // namespace platform::png
