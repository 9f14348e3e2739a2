#include "Host/PictureWriter.hpp"

#include "Host/Interrupt.hpp"
#include "Platform/CoreImage/ImageExport.hpp"

#include <unistd.h>

#include <cerrno>

namespace host {

using platform::ByteSink;
using platform::ImageError;
using Written = std::expected<void, ImageError>;

namespace {

class StandardOutput final : public ByteSink {
public:
    std::expected<void, std::error_code> write(std::span<const std::byte> bytes) override {
        while (!bytes.empty()) {
            const ssize_t count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
            if (count >= 0)
                bytes = bytes.subspan(static_cast<std::size_t>(count));
            else if (errno != EINTR)
                return std::unexpected(std::error_code(errno, std::generic_category()));
        }
        return {};
    }
};

Written writeError(const std::error_code& error) {
    return std::unexpected(ImageError{ImageError::Code::writeFailed, error.message()});
}

Written draw(const platform::CIImage& recipe, const platform::CGRect& extent, const OutputFile& output,
             const platform::Date& captureDate, ByteSink& sink) {
    return platform::writeImage(recipe, extent, output.format, {.quality = output.quality}, captureDate, sink,
                                Interrupt::requested);
}

} // namespace

Written writePicture(const platform::CIImage& recipe, const platform::CGRect& extent, const OutputFile& output,
                     const platform::Date& captureDate) {
    if (output.path.empty()) {
        StandardOutput sink;
        return draw(recipe, extent, output, captureDate, sink);
    }
    auto file = platform::AtomicFile::create(output.path, output.existing);
    if (!file)
        return writeError(file.error());
    if (auto drawn = draw(recipe, extent, output, captureDate, *file); !drawn)
        return drawn;
    if (auto committed = file->commit(); !committed)
        return writeError(committed.error());
    return {};
}

} // namespace host
