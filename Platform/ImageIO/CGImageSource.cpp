#include "Platform/ImageIO/CGImageSource.hpp"

#include "Platform/Foundation/Device.hpp"
#include "Platform/ImageIO/ImageCodec.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace platform {

struct CGImageSource::State {
    std::filesystem::path file;
    FileIdentity identity;
    ImageLimits limits;
    ImageDescription description;
};

namespace {

/// ISO/IEC 14496-12, 4.3: a box of a length in four bytes, "ftyp", the major brand, a version, compatible brands.
std::optional<ImageFormat> formatOfBrands(const InputFile& file) {
    std::array<char, 256> start = {};
    const auto count = file.read(0, std::as_writable_bytes(std::span(start)));
    const auto length =
        static_cast<std::size_t>(static_cast<unsigned char>(start[2]) << 8 | static_cast<unsigned char>(start[3]));
    const std::size_t end = count ? std::min(*count, length) : 0;
    std::optional<ImageFormat> format;
    for (std::size_t at = 8; at + 4 <= end; at += at == 8 ? 8 : 4) {
        const std::string_view brand(start.data() + at, 4);
        if (brand == "avif" || brand == "avis")
            return ImageFormat::avif; // such files may name "mif1" as well
        if (brand == "mif1" || brand == "msf1" || brand.starts_with("hei") || brand.starts_with("hev"))
            format = ImageFormat::heif;
    }
    return format;
}

/// Told by content, never by name.
std::optional<ImageFormat> formatOf(const InputFile& file) {
    std::array<std::byte, 12> start = {};
    if (!file.read(0, start))
        return std::nullopt;
    const auto stands = [&](std::size_t at, std::string_view text) {
        return std::memcmp(start.data() + at, text.data(), text.size()) == 0;
    };
    if (stands(0, "\x89PNG\r\n\x1a\n"))
        return ImageFormat::png;
    if (stands(0, "\xff\xd8\xff"))
        return ImageFormat::jpeg;
    if (stands(0, "RIFF") && stands(8, "WEBP"))
        return ImageFormat::webp;
    if (stands(0, "\xff\x0a") || stands(0, std::string_view("\0\0\0\x0cJXL \r\n\x87\n", 12)))
        return ImageFormat::jxl;
    if (stands(4, "ftyp"))
        return formatOfBrands(file);
    return std::nullopt;
}

/// What is taken at once for the upright picture. A turned one is held twice, as stored and as shown.
std::int64_t memoryOf(const ImageDescription& description) {
    const auto& properties = description.properties;
    const bool isTurned = properties.orientation != ImageOrientation::up;
    return description.memory + (isTurned ? 8 * properties.width * properties.height : 0);
}

} // namespace

std::expected<CGImageSource, ImageError> CGImageSource::open(const std::filesystem::path& path) {
    return open(path, Device::current().imageLimits);
}

std::expected<CGImageSource, ImageError> CGImageSource::open(const std::filesystem::path& path,
                                                             const ImageLimits& limits) {
    auto file = InputFile::open(path);
    if (!file)
        return std::unexpected(file.error());
    const auto format = formatOf(*file);
    if (!format)
        return std::unexpected(ImageError{ImageError::Code::notAnImage, file->size() == 0 ? "the file is empty" : ""});

    auto state = std::make_shared<State>(State{path, file->identity(), limits, {}});
    auto description = codecOf(*format).inspect(std::move(*file), limits);
    if (!description)
        return std::unexpected(description.error());
    state->description = std::move(*description);
    state->description.properties.format = *format;
    const ImageProperties& properties = state->description.properties;
    if (auto error = sizeError(properties.width, properties.height, limits))
        return std::unexpected(*error);
    if (auto error = memoryError(memoryOf(state->description), limits))
        return std::unexpected(*error);
    return CGImageSource(std::move(state));
}

const ImageProperties& CGImageSource::properties() const {
    return state_->description.properties;
}

/// The stored pixels of a file, or of a picture `divisor` times smaller.
class CGImageSource::Rows final : public RowSource {
public:
    explicit Rows(std::shared_ptr<const State> file, int divisor = 1) : file_(std::move(file)), divisor_(divisor) {}

    std::int64_t width() const override { return reducedBy(divisor_, file_->description.properties.width); }
    std::int64_t height() const override { return reducedBy(divisor_, file_->description.properties.height); }
    bool opaque() const override { return file_->description.properties.opaque; }
    CGColorSpace colorSpace() const override { return file_->description.colorSpace; }

    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        auto file = InputFile::open(file_->file, file_->identity);
        if (!file)
            return std::unexpected(file.error());
        return divisor_ == 1 ? codec().reader(std::move(*file), file_->description, file_->limits)
                             : codec().reducedReader(std::move(*file), divisor_, file_->limits);
    }

    std::shared_ptr<const RowSource> reduced(std::int64_t width, std::int64_t height) const override {
        const ImageProperties& properties = file_->description.properties;
        int divisor = codec().reducedReader ? 8 : 1;
        while (divisor > 1 &&
               (reducedBy(divisor, properties.width) < width || reducedBy(divisor, properties.height) < height))
            divisor /= 2;
        return divisor == 1 ? nullptr : std::make_shared<const Rows>(file_, divisor);
    }

private:
    static std::int64_t reducedBy(int divisor, std::int64_t length) { return (length + divisor - 1) / divisor; }
    const ImageCodec& codec() const { return codecOf(file_->description.properties.format); }

    const std::shared_ptr<const State> file_;
    const int divisor_;
};

CGImage CGImageSource::image() const {
    return CGImage(std::make_shared<const Rows>(state_));
}

} // namespace platform
