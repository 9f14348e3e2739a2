#include "Host/PictureWriter.hpp"

#include "Host/Interrupt.hpp"
#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"

namespace host {

using platform::ImageError;

namespace {

ImageError writeError(const std::error_code& error) {
    return {ImageError::Code::writeFailed, error.message()};
}

} // namespace

std::expected<void, ImageError> writePicture(const platform::CIImage& recipe, const OutputFile& output,
                                             const platform::Date& captureDate) {
    const platform::CIContext context;
    const platform::CGRect extent = recipe.extent();
    const auto format = context.format(recipe, extent);
    const platform::ImageHeader header{.width = format.width,
                                       .height = format.height,
                                       .opaque = format.opaque,
                                       .colorSpace = format.colorSpace,
                                       .captureDate = platform::Calendar::current().components(captureDate),
                                       .software = "Velmorant"};

    auto file = platform::AtomicFile::create(output.path, output.existing);
    if (!file)
        return std::unexpected(writeError(file.error()));
    auto destination = platform::CGImageDestination::make(output.format, *file, header);
    if (!destination)
        return std::unexpected(destination.error());

    const auto drawn = context.render(
        recipe, extent,
        [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) -> std::expected<void, ImageError> {
            if (Interrupt::requested())
                return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
            return (*destination)->write(rows, stride, count);
        });
    if (!drawn)
        return drawn;
    if (auto finished = (*destination)->finish(); !finished)
        return finished;
    if (auto committed = file->commit(); !committed)
        return std::unexpected(writeError(committed.error()));
    return {};
}

} // namespace host
