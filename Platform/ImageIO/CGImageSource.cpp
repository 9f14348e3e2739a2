#include "Platform/ImageIO/CGImageSource.hpp"

#include "Platform/ImageIO/ImageCodec.hpp"

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
    return std::nullopt;
}

} // namespace

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
    return CGImageSource(std::move(state));
}

const ImageProperties& CGImageSource::properties() const {
    return state_->description.properties;
}

CGImage CGImageSource::image() const {
    struct Rows final : RowSource {
        explicit Rows(std::shared_ptr<const State> file) : state(std::move(file)) {}
        const std::shared_ptr<const State> state;

        std::int64_t width() const override { return state->description.properties.width; }
        std::int64_t height() const override { return state->description.properties.height; }
        bool opaque() const override { return state->description.properties.opaque; }
        CGColorSpace colorSpace() const override { return state->description.colorSpace; }

        std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
            auto file = InputFile::open(state->file, state->identity);
            if (!file)
                return std::unexpected(file.error());
            const ImageCodec& codec = codecOf(state->description.properties.format);
            return codec.reader(std::move(*file), state->description, state->limits);
        }
    };
    return CGImage(std::make_shared<const Rows>(state_));
}

} // namespace platform
