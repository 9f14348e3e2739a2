#include "Platform/ImageIO/Codecs.hpp"
#include "Platform/ImageIO/CodecsProcess.hpp"
#include "Platform/ImageIO/Exif.hpp"

#include <algorithm>
#include <cstring>

namespace platform::codecs {

using Code = ImageError::Code;

namespace {

/// A picture that takes longer counts as one that never ends.
constexpr const char* processorSeconds = "10";

ImageError errorOf(const Answer& answer) {
    std::string detail(answer.detail, strnlen(answer.detail, sizeof answer.detail));
    switch (answer.status) {
    case Status::unsupported:
        return {Code::unsupported, std::move(detail)};
    case Status::truncated:
        return {Code::truncated, std::move(detail)};
    case Status::tooLarge:
        return {Code::tooLarge, std::move(detail)};
    case Status::overloaded:
        return {Code::overloaded, std::move(detail)};
    case Status::outOfMemory:
        return {Code::overMemory, std::move(detail)};
    default:
        return {Code::damaged, std::move(detail)};
    }
}

/// What the helper says of a file before its rows.
struct Opened {
    std::unique_ptr<CodecsProcess> process;
    Answer answer;
    std::vector<std::byte> profile, exif;
};

std::expected<Opened, ImageError> openIn(const char* operation, ImageFormat format, const InputFile& file,
                                         const ImageLimits& limits) {
    auto process = CodecsProcess::start({operation, nameOf(format), std::to_string(limits.maxPixels),
                                         std::to_string(limits.maxMemory), processorSeconds},
                                        &file);
    if (!process)
        return std::unexpected(process.error());
    Opened opened{std::move(*process), {}, {}, {}};
    Answer& answer = opened.answer;
    const auto receive = [&](std::span<std::byte> into) { return opened.process->receive(into); };
    if (auto received = receive(std::as_writable_bytes(std::span(&answer, 1))); !received)
        return std::unexpected(received.error());
    if (answer.magic != magic || answer.profileBytes > limits.maxChunkBytes || answer.exifBytes > limits.maxChunkBytes)
        return std::unexpected(ImageError{Code::damaged, "velmorant-codecs answered nonsense"});
    if (answer.status != Status::good)
        return std::unexpected(errorOf(answer));
    opened.profile.resize(answer.profileBytes);
    opened.exif.resize(answer.exifBytes);
    for (auto* bytes : {&opened.profile, &opened.exif})
        if (auto received = receive(*bytes); !received)
            return std::unexpected(received.error());
    return opened;
}

class Reader final : public RowReader {
public:
    Reader(std::unique_ptr<CodecsProcess> process, std::int64_t width, Alpha alpha)
        : process_(std::move(process)), width_(static_cast<std::size_t>(width)), alpha_(alpha) {}

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        for (; count > 0; --count, rows += stride) {
            if (auto received = process_->receive(std::as_writable_bytes(std::span(rows, 4 * width_))); !received)
                return received;
            if (alpha_ == Alpha::straight)
                premultiply(rows, width_);
            else if (!isPossible(rows))
                return std::unexpected(ImageError{Code::damaged, "colours beyond their alpha"});
        }
        return {};
    }

    std::expected<void, ImageError> skip(std::int64_t count) override {
        std::vector<std::uint8_t> row(4 * width_);
        return read(row.data(), 0, count);
    }

private:
    /// Whether the row keeps what was promised of its alpha, on which whoever draws it relies.
    bool isPossible(const std::uint8_t* row) const {
        for (const std::uint8_t* pixel = row; pixel != row + 4 * width_; pixel += 4)
            if (alpha_ == Alpha::none ? pixel[3] != 255 : std::max({pixel[0], pixel[1], pixel[2]}) > pixel[3])
                return false;
        return true;
    }

    const std::unique_ptr<CodecsProcess> process_;
    const std::size_t width_;
    const Alpha alpha_;
};

} // namespace

std::expected<ImageDescription, ImageError> inspect(ImageFormat format, InputFile file, const ImageLimits& limits) {
    auto opened = openIn("inspect", format, file, limits);
    if (!opened)
        return std::unexpected(opened.error());
    const Answer& answer = opened->answer;
    ImageDescription description;
    if (auto error = sizeError(answer.width, answer.height, limits))
        return std::unexpected(*error);
    if (!opened->exif.empty())
        exif::read(opened->exif, description.properties);
    // The helper turns pictures by what their container says; Exif only repeats it (ISO/IEC 23008-12, A.2).
    description.properties.orientation = ImageOrientation::up;
    description.properties.width = answer.width;
    description.properties.height = answer.height;
    description.properties.opaque = answer.alpha == Alpha::none;
    description.colorSpace = colorSpaceOf(std::move(opened->profile));
    description.memory = file.size() + bytesPerPixelRead * answer.width * answer.height;
    return description;
}

std::expected<std::unique_ptr<RowReader>, ImageError>
reader(ImageFormat format, InputFile file, const ImageDescription& description, const ImageLimits& limits) {
    auto opened = openIn("decode", format, file, limits);
    if (!opened)
        return std::unexpected(opened.error());
    const Answer& answer = opened->answer;
    const ImageProperties& properties = description.properties;
    if (answer.width != properties.width || answer.height != properties.height ||
        (answer.alpha == Alpha::none) != properties.opaque)
        return std::unexpected(ImageError{Code::damaged, "its size is not the declared one"});
    return std::make_unique<Reader>(std::move(opened->process), answer.width, answer.alpha);
}

} // namespace platform::codecs
