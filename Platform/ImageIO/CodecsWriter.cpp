#include "Platform/Foundation/Device.hpp"
#include "Platform/ImageIO/Codecs.hpp"
#include "Platform/ImageIO/CodecsProcess.hpp"
#include "Platform/ImageIO/Exif.hpp"

#include <algorithm>
#include <cstring>

namespace platform::codecs {

using Code = ImageError::Code;
using Done = std::expected<void, ImageError>;

namespace {

/// Of the processor: ten times what the slowest encoder took.
std::int64_t secondsFor(std::int64_t pixels) {
    return 30 + pixels / 100'000;
}

std::unexpected<ImageError> writeError(std::string detail) {
    return std::unexpected(ImageError{Code::writeFailed, std::move(detail)});
}

/// Sends the rows to the helper as they come, and at the end takes the file from it.
class Writer final : public CGImageDestination {
public:
    Writer(std::unique_ptr<CodecsProcess> process, ByteSink& sink, const ImageHeader& header)
        : process_(std::move(process)), sink_(sink), width_(static_cast<std::size_t>(header.width)),
          opaque_(header.opaque) {}

    Done begin(const ImageHeader& header, const EncodeOptions& options) {
        const auto block = exif::block(header);
        const auto tiff = std::span(block).subspan(std::min(block.size(), sizeof exif::prefix));
        const auto profile = header.colorSpace.profile();
        std::vector<std::int64_t> pages = options.pages.rows;
        if (pages.empty())
            pages = {header.height};
        Request request{.quality = static_cast<std::uint32_t>(options.quality),
                        .width = header.width,
                        .height = header.height,
                        .opaque = header.opaque,
                        .profileBytes = static_cast<std::uint32_t>(profile.size()),
                        .exifBytes = static_cast<std::uint32_t>(tiff.size()),
                        .softwareBytes = static_cast<std::uint32_t>(header.software.size()),
                        .pageCount = static_cast<std::uint32_t>(pages.size()),
                        .pageWidth = options.pages.width,
                        .pageHeight = options.pages.height};
        if (const auto& date = header.captureDate) {
            request.year = date->year;
            request.month = date->month;
            request.day = date->day;
            request.hour = date->hour;
            request.minute = date->minute;
            request.second = date->second;
        }
        for (const auto bytes : {std::as_bytes(std::span(&request, 1)), profile, tiff,
                                 std::as_bytes(std::span(header.software)), std::as_bytes(std::span(pages))})
            if (auto sent = send(bytes); !sent)
                return sent;
        return {};
    }

    Done write(const std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (; count > 0; --count, rows += stride) {
            const std::uint8_t* row = rows;
            if (!opaque_) {
                straight_.resize(4 * width_);
                unpremultiply(rows, straight_.data(), width_);
                row = straight_.data();
            }
            if (auto sent = send(std::as_bytes(std::span(row, 4 * width_))); !sent)
                return sent;
        }
        return {};
    }

    Done finish() override {
        Answer answer;
        if (auto received = receive(std::as_writable_bytes(std::span(&answer, 1))); !received)
            return received;
        if (answer.magic != magic)
            return writeError("velmorant-codecs answered nonsense");
        if (answer.status == Status::outOfMemory)
            return std::unexpected(ImageError{Code::overMemory, {}});
        if (answer.status != Status::good)
            return writeError(std::string(answer.detail, strnlen(answer.detail, sizeof answer.detail)));
        for (bool isEmpty = true;; isEmpty = false) {
            std::uint32_t length = 0;
            if (auto received = receive(std::as_writable_bytes(std::span(&length, 1))); !received)
                return received;
            if (length == 0 && !isEmpty)
                return {};
            if (length == 0 || length > piece_.size())
                return writeError("velmorant-codecs answered nonsense");
            const auto piece = std::span(piece_).first(length);
            if (auto received = receive(piece); !received)
                return received;
            if (auto written = sink_.write(piece); !written)
                return writeError(written.error().message());
        }
    }

private:
    Done send(std::span<const std::byte> bytes) { return ofWriting(process_->send(bytes)); }
    Done receive(std::span<std::byte> into) { return ofWriting(process_->receive(into)); }

    static Done ofWriting(Done done) { return done ? done : writeError(done.error().detail); }

    const std::unique_ptr<CodecsProcess> process_;
    ByteSink& sink_;
    const std::size_t width_;
    const bool opaque_;
    std::vector<std::uint8_t> straight_;
    std::vector<std::byte> piece_ = std::vector<std::byte>(std::size_t{1} << 20);
};

} // namespace

std::expected<std::unique_ptr<CGImageDestination>, ImageError>
writer(ImageFormat format, ByteSink& sink, const ImageHeader& header, const EncodeOptions& options) {
    const std::int64_t pixels = header.width * header.height;
    auto process = CodecsProcess::start({"encode", nameOf(format), std::to_string(pixels),
                                         std::to_string(Device::current().imageLimits.maxMemory),
                                         std::to_string(secondsFor(pixels))},
                                        nullptr);
    if (!process)
        return std::unexpected(process.error());
    auto writer = std::make_unique<Writer>(std::move(*process), sink, header);
    if (auto begun = writer->begin(header, options); !begun)
        return std::unexpected(begun.error());
    return writer;
}

} // namespace platform::codecs
